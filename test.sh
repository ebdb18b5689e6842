#!/usr/bin/env bash
# Installs what is missing, builds the release preset, runs every test. Arguments go to ctest (-R NAME, -L LABEL …).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$root"

scripts/install-packages build test
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release --parallel "$(nproc)" "$@"
