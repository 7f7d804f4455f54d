# For scripts of many steps, several at a time: source it after common.sh.
#
#   steps_begin
#   step tests "native" run_tests build    # starts as soon as the step "native" has passed
#   ...
#   steps_end                              # prints each step's output in order, then a table
#
# A step's status 77 says that it cannot be done here; its last line says why.

steps_begin() {
  steps_folder=$(mktemp -d "${TMPDIR:-/tmp}/cronvel-steps.XXXXXX")
  steps_names=()
  steps_ids=()
  steps_start=$(date +%s)
  trap steps_stop EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
}

# Ends what still runs: each step is a process group of its own.
steps_stop() {
  local code=$? id
  for id in "${steps_ids[@]}"; do
    if kill -0 "$id" 2>/dev/null; then kill -TERM -- "-$id" 2>/dev/null || true; fi
  done
  wait
  rm -rf "$steps_folder"
  return "$code"
}

# step NAME AFTER COMMAND...: AFTER names the steps that must have passed, parted by blanks; with a
# "?" behind its name one must only have ended.
step() {
  local name=$1 after=$2
  shift 2
  steps_names+=("$name")
  set -m
  steps_run "$name" "$after" "$@" &
  set +m
  steps_ids+=($!)
}

steps_run() { # NAME AFTER COMMAND...
  local file=$steps_folder/$1 after=$2 each code start
  shift 2
  trap - EXIT
  for each in $after; do
    until [ -e "$steps_folder/${each%\?}.code" ]; do sleep 0.2; done
    if [[ $each != *\? ]] && [ "$(cat "$steps_folder/$each.code")" -ne 0 ]; then
      echo "skipped: the step \"$each\" did not pass" >"$file.log"
      echo "- 0" >"$file.time"
      steps_note "$file" 77
      return
    fi
  done
  start=$(date +%s)
  # Not in a condition: there bash would run on after a failed command.
  set +e
  (
    set -e
    "$@"
  ) >"$file.log" 2>&1 </dev/null
  code=$?
  echo "$((start - steps_start)) $(($(date +%s) - start))" >"$file.time"
  steps_note "$file" "$code"
}

steps_note() {
  echo "$2" >"$1.code.new"
  mv "$1.code.new" "$1.code"
}

# What a builder and a test runner say about what went well is left out.
steps_print() { # NAME CODE
  if [ "$2" -eq 0 ]; then
    grep -avE '^\[[0-9]+/[0-9]+\] |^ +Start +[0-9]+:|^$' "$steps_folder/$1.log" || true
  else
    tail -n 300 "$steps_folder/$1.log"
  fi
}

# Status 0 when no step failed. The last line tells how many single tests passed and failed; a step
# that counts none is one itself.
steps_end() {
  local name code word start seconds failures=0 table=() passed=0 failed=0 counts
  for name in "${steps_names[@]}"; do
    until [ -e "$steps_folder/$name.code" ]; do sleep 0.2; done
    code=$(cat "$steps_folder/$name.code")
    read -r start seconds <"$steps_folder/$name.time"
    say "$name"
    steps_print "$name" "$code"
    case $code in
      0) word=PASS ;;
      77) word=SKIP ;;
      *)
        word=FAIL
        failures=$((failures + 1))
        ;;
    esac
    table+=("$(printf '  %-4s %-16s %5s s from %5s s' "$word" "$name" "$seconds" "$start")")
    [ "$word" != SKIP ] ||
      table+=("       $(grep -a '^skipped: ' "$steps_folder/$name.log" | tail -n 1)")
    read -r -a counts < <(awk '
      / tests failed out of [0-9]+$/ { failed += $4; passed += $NF - $4 }
      /^PASS / { passed++ }
      /^FAIL / { failed++ }
      END { print passed + 0, failed + 0 }' "$steps_folder/$name.log")
    if [ "$((counts[0] + counts[1]))" -eq 0 ] && [ "$word" != SKIP ]; then counts[0]=1; fi
    if [ "$word" = FAIL ] && [ "${counts[1]}" -eq 0 ]; then counts=(0 1); fi
    passed=$((passed + counts[0]))
    failed=$((failed + counts[1]))
  done
  say "the steps ($(($(date +%s) - steps_start)) s in all)"
  printf '%s\n' "${table[@]}" ""
  printf '%s passed, %s failed\n' "$passed" "$failed"
  [ "$failures" -eq 0 ]
}
