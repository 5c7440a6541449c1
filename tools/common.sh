# shellcheck shell=bash disable=SC2034
# What ./dev, its tools and their tests share. open_shop needs $bin, the directory of the programs.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

if [[ -t 1 && -z ${NO_COLOR-} && ${TERM-dumb} != dumb ]]; then
  bold=$'\e[1m' dim=$'\e[2m' red=$'\e[31m' plain=$'\e[0m'
else
  bold='' dim='' red='' plain=''
fi
readonly bold dim red plain

say() { printf "%s\n" "$@"; }
die() {
  printf '%s%s:%s %s\n' "$red" "${0##*/}" "$plain" "$*" >&2
  exit 1
}

# asks_for_tests [TARGET…]: whether one of the targets builds tests.
asks_for_tests() { [[ "$* " == *tests\ * ]]; }

# become_root MESSAGE: sets as_root to the prefix that runs a command as root; without one, dies with MESSAGE.
become_root() {
  as_root=()
  ((EUID != 0)) || return 0
  as_root=(sudo)
  if ! command -v sudo >/dev/null || ! { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
    die "cannot become root here. $1"
  fi
}

# tree_files DIRECTORY [PATTERN]: the project's own files, NUL-separated, without build directories; only those
# whose path matches the extended regular expression.
tree_files() {
  (cd "$1" && find . \( -path ./.git -o -path './build*' \) -prune \
    -o -regextype posix-extended -type f -regex "${2-.*}" -print0 | sort -z)
}

# open_shop LOG [OPTION…]: starts $bin/quire-devshop with its messages in LOG, waits until it is ready, exports
# what an application needs to reach it, and sets shop_pid. The shop ends with this process, if not before.
open_shop() {
  local log=$1 key value
  shift
  exec {shop_output}< <(exec setpriv --pdeathsig TERM "${bin:?}/quire-devshop" "$@" 2>>"$log")
  shop_pid=$!
  while read -r -t 30 -u "$shop_output" key value; do
    case $key in
      ready) return 0 ;;
      connect-to) export TABULET_CONNECT_TO=$value ;;
      ca) export TABULET_CA_FILE=$value ;;
      shop | config | control | token) shop_addresses+="$(printf '  %-8s %s' "$key" "$value")"$'\n' ;;
    esac
  done
  close_shop
  [[ ! -f $log ]] || cat "$log" >&2
  die 'the development shop did not start (its messages are above)'
}

close_shop() {
  [[ -n ${shop_pid-} ]] || return 0
  kill "$shop_pid" 2>/dev/null || true
  wait "$shop_pid" 2>/dev/null || true
  shop_pid=''
}
