# shellcheck shell=bash
# For the tests of the tools: a sample project in a directory of its own, and commands that must pass or fail.
. "$(dirname "${BASH_SOURCE[0]}")/../../tools/common.sh"
sample=$(mktemp -d)
trap 'rm -rf "$sample"' EXIT
cd "$sample" || exit

# file PATH LINE…: writes a file of the sample.
file() {
  mkdir -p "$(dirname "$1")"
  printf '%s\n' "${@:2}" >"$1"
}
fail() {
  printf 'FAILED: %s\n' "$1"
  [[ ! -e output ]] || sed 's/^/  | /' output
  exit 1
}
passes() { "$@" >output 2>&1 || fail "$* rejects a good sample"; }
# rejects TEXT COMMAND…: the command fails, and its output contains TEXT.
rejects() {
  ! "${@:2}" >output 2>&1 || fail "${*:2} passes what it must reject for: $1"
  grep -qF -- "$1" output || fail "${*:2} does not say: $1"
}
# stub NAME LINE…: a program NAME of that script, found before the real one.
stub() {
  file "stubs/$1" '#!/usr/bin/env bash' "${@:2}"
  chmod +x "stubs/$1"
  PATH=$sample/stubs:${PATH#"$sample/stubs:"}
}
