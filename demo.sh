#!/usr/bin/env bash
# Builds Tidemark and shows a folder being kept in step with a server, step by step, on this machine alone.
# Everything happens in a temporary folder that is gone afterwards. Ends with status 0 only when both trees are equal.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bin=$root/build/release

step() { printf '\n== %s\n' "$*"; }

step "Install what is missing and build"
"$root/scripts/install-packages" build
(cd "$root" && cmake --preset release >/dev/null && cmake --build --preset release --target tidemark marlock-devserver)

work=$(mktemp -d "${TMPDIR:-/tmp}/tidemark-demo.XXXXXX")
server=
leave_nothing_behind() {
  if [ -n "$server" ]; then
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap leave_nothing_behind EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

here=$work/here
there=$work/server/files
mkdir -p "$here" "$there" "$work/config"

tidemark() {
  printf '$ tidemark'
  printf ' %q' "$@"
  printf '\n'
  "$bin/src/tidemark" --config-dir "$work/config" "$@"
}

# Two changes of a file count as two when their times differ by more than three seconds: times are set, not waited for.
put() { # FOLDER PATH TIME TEXT
  mkdir -p "$(dirname "$1/$2")"
  printf '%s' "$4" >"$1/$2"
  touch -d "$3" "$1/$2"
}

tree() { (cd "$1" && find . -mindepth 1 \( -type d -printf '%P/\n' -o -printf '%P  %s bytes\n' \) | LC_ALL=C sort); }

step "Start a WebDAV server on a free port of this machine, over an empty folder"
printf 'sesame\n' >"$work/password"
"$bin/devserver/marlock-devserver" --root "$work/server" --port 0 --port-file "$work/port" \
  --product --auth digest --user kim --password-file "$work/password" >"$work/server.log" 2>&1 &
server=$!
for _ in $(seq 200); do
  [ -s "$work/port" ] && break
  kill -0 "$server" 2>/dev/null || { cat "$work/server.log" >&2; exit 1; }
  sleep 0.05
done
port=$(cat "$work/port")
echo "listening on 127.0.0.1:$port"

step "Make a folder: nested folders, names with umlauts, blanks, + and %, an empty file, one of 20 MiB"
put "$here" "notes/today.txt" "2026-01-10 10:00:00" "water the plants"
put "$here" "notes/ideas/größe & maße.txt" "2026-01-10 10:00:00" "wider than long"
put "$here" "notes/ideas/日本語.txt" "2026-01-10 10:00:00" "こんにちは"
put "$here" "1 + 1 = 2.txt" "2026-01-10 10:00:00" "arithmetic"
put "$here" "100% cotton.txt" "2026-01-10 10:00:00" "shirts"
put "$here" "deep/er/and/deeper/end.txt" "2026-01-10 10:00:00" "the end"
put "$here" "empty.txt" "2026-01-10 10:00:00" ""
head -c $((20 * 1024 * 1024)) /dev/urandom >"$here/big.bin"
tree "$here"

step "Make a configuration and check that the server folder can be used"
tidemark config create demo --url "http://127.0.0.1:$port/files" --local "$here" --user kim --password-file "$work/password"
tidemark config check demo

step "First sync: everything goes up"
tidemark sync demo
tree "$there"

step "Change, add and delete on both sides"
put "$here" "notes/today.txt" "2026-01-11 10:00:00" "water the plants, feed the cat"
put "$here" "notes/new here.txt" "2026-01-11 10:00:00" "made here"
rm "$here/100% cotton.txt"
put "$there" "deep/er/and/deeper/end.txt" "2026-01-11 10:00:00" "not the end after all"
put "$there" "from the server/new there.txt" "2026-01-11 10:00:00" "made on the server"
rm "$there/1 + 1 = 2.txt"
echo "here:   changed notes/today.txt, added notes/new here.txt, deleted 100% cotton.txt"
echo "server: changed deep/er/and/deeper/end.txt, added from the server/new there.txt, deleted 1 + 1 = 2.txt"

step "What a sync would do"
tidemark list demo

step "Sync: both sides learn of it"
tidemark sync demo --on-delete delete

step "Change one file on both sides"
put "$here" "notes/today.txt" "2026-01-12 10:00:00" "here: the cat is fed"
put "$there" "notes/today.txt" "2026-01-12 11:00:00" "server: the cat is fed, and the dog"
tidemark list demo

step "Settle the conflict: the most recent side wins"
tidemark sync demo --on-conflict recent
cat "$here/notes/today.txt"
echo

step "A last run has nothing to do"
tidemark sync demo

step "Both trees at the end"
tree "$here"
if diff -r "$here" "$there"; then
  echo "Both trees are equal."
else
  echo "The trees differ." >&2
  exit 1
fi
