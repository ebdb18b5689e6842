#!/usr/bin/env bash
# Installs what is missing, builds the bench preset and measures Tidemark beside curl and rclone over one Apache.
#   bench/run.sh [--quick] [micro|sync|requests|cancel|crypto|service|desktop …]     everything without a name; --quick: a tenth of the size
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-packages build bench
cmake --preset bench >/dev/null
cmake --build --preset bench >/dev/null
exec python3 bench/compare.py --build build/bench "$@"
