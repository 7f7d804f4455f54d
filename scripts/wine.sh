# For the scripts that run Windows programs: source it after common.sh, call wine_begin once, then
# wine_run as often as needed. Everything that it started ends with the script, and nothing else.
export WINEDEBUG=${WINEDEBUG:--all}

# wine_begin [FOLDER]: makes the Wine prefix in FOLDER, or uses the one there; without FOLDER in
# WINEPREFIX, or in one that is removed at the end. Starts an X server for the whole run.
# CRONVEL_WINE_TEMPLATE names a folder for prefixes to copy, which is much quicker than making them:
# one for each system (this machine, the 32-bit programs' bed) is made when first needed.
wine_begin() {
  command -v wine >/dev/null && command -v Xvfb >/dev/null || need "${wine_packages[@]}"
  wine_own_prefix=
  if [ -n "${1:-${WINEPREFIX:-}}" ]; then
    export WINEPREFIX=${1:-$WINEPREFIX}
  else
    wine_own_prefix=$(mktemp -d "${TMPDIR:-/tmp}/cronvel-wine.XXXXXX")
    export WINEPREFIX=$wine_own_prefix
  fi
  mkdir -p "$WINEPREFIX"
  wine_display=
  trap wine_end EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM

  # The server itself looks for a free display number and tells it.
  local told=$WINEPREFIX/display number=
  : >"$told"
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$told" >/dev/null 2>&1 &
  wine_display=$!
  for _ in $(seq 100); do
    number=$(cat "$told")
    [ -z "$number" ] || break
    kill -0 "$wine_display" 2>/dev/null || fail "the X server did not start"
    sleep 0.1
  done
  [ -n "$number" ] || fail "the X server names no display"
  export DISPLAY=:$number

  if [ -e "$WINEPREFIX/cronvel-prefix" ]; then return; fi
  if [ -z "${CRONVEL_WINE_TEMPLATE:-}" ]; then
    wine_make_prefix
    return
  fi
  local template=$CRONVEL_WINE_TEMPLATE/wine${CRONVEL_IN_BED:+-bed} lock
  mkdir -p "$template"
  exec {lock}>"$template.lock"
  flock "$lock"
  [ -e "$template/cronvel-prefix" ] || WINEPREFIX=$template wine_make_prefix
  exec {lock}>&-
  cp -a --reflink=auto "$template/." "$WINEPREFIX"
}

wine_make_prefix() {
  say "making a Wine prefix"
  timeout -k 5 300 wineboot -i >"$WINEPREFIX/made" 2>&1 </dev/null ||
    fail "no Wine prefix: $(tail -n 5 "$WINEPREFIX/made")"
  # A crash is to be reported on the error output; the dialog would wait for a user.
  timeout -k 5 60 wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD \
    /d 0 /f >"$WINEPREFIX/made" 2>&1 </dev/null || fail "the prefix takes no setting"
  timeout -k 5 60 wineserver -w || fail "the Wine prefix is not finished"
  touch "$WINEPREFIX/cronvel-prefix"
}

wine_end() {
  local code=$?
  # The server of this prefix only.
  timeout -k 5 30 wineserver -k >/dev/null 2>&1 || true
  if [ -n "$wine_display" ]; then
    kill "$wine_display" 2>/dev/null || true
    wait "$wine_display" 2>/dev/null || true
  fi
  [ -z "$wine_own_prefix" ] || rm -rf "$wine_own_prefix"
  return "$code"
}

# wine_run LOG PROGRAM...: runs it by WINE (wine) for at most WINE_TIMEOUT seconds (60), output and
# errors into the file LOG with plain line ends. Status: the program's, 124 when it took too long. A
# crashed or failed program can end with 0: look for what it is to print last.
wine_run() {
  local log=$1 code=0
  shift
  # Into a file: Wine's own servers would keep a pipe open.
  timeout -k 5 "${WINE_TIMEOUT:-60}" "${WINE:-wine}" "$@" >"$log" 2>&1 </dev/null || code=$?
  sed -i 's/\r$//' "$log"
  return "$code"
}

# report NAME WRONG [LOG]: a PASS line, or what is wrong with the head of the log; counts `failures`.
failures=0
report() {
  if [ -z "$2" ]; then
    echo "PASS $1"
    return
  fi
  echo "FAIL $1: $2"
  failures=$((failures + 1))
  [ -z "${3:-}" ] || head -n 20 "$3" | sed 's/^/     /'
}

# windows_path PATH: as Windows programs have it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# run_in_bed COMMAND...: where 32-bit programs run too; status 77 when there is no such place.
run_in_bed() { "$root/scripts/wine32-bed" "$@"; }
