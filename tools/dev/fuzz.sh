# shellcheck shell=bash
# Fuzzing everything that reads untrusted bytes.

# fuzz_entry NAME SECONDS: runs an entry with the kept inputs and those of earlier runs.
fuzz_entry() {
  local folder=$BUILD/fuzz/$1 result=0
  mkdir -p "$folder" "tests/fuzz/corpus/$1"
  "$BUILD/native/bin/fuzz_$1" -max_total_time="$2" -max_len=4096 -timeout=60 -print_final_stats=1 \
    -artifact_prefix="$folder-" "$folder" "tests/fuzz/corpus/$1" >"$LOGS/fuzz-$1.log" 2>&1 || result=$?
  awk -v name="$1" -v result="$result" '/^stat::number_of_executed/ { runs = $2 } /^stat::new_units/ { found = $2 }
    /Test unit written to/ { at = at " " $NF }
    END { printf "%-14s %12d runs, %6d new inputs, %s\n", name, runs, found, result ? "CRASHED:" at : "no crash" }' \
    "$LOGS/fuzz-$1.log"
  return "$result"
}

# fuzz [MINUTES]
fuzz() {
  local minutes=${1:-5} entries entry result=0
  [[ $minutes =~ ^[1-9][0-9]{0,3}$ ]] || die "not a number of minutes: $minutes"
  entries=$(basename -s .cpp tests/fuzz/*.cpp)
  build native
  say "Fuzzing each entry for $minutes min, $(nproc) at a time"
  # On a disk the entries would mostly wait.
  export BUILD LOGS TMPDIR=/dev/shm
  export -f fuzz_entry
  # shellcheck disable=SC2016,SC2086
  run xargs -a <(printf '%s\n' $entries) -P "$(nproc)" -I {} bash -c 'fuzz_entry {} "$0" || exit 1' $((minutes * 60)) ||
    result=$?
  for entry in $entries; do
    step "Keeping the inputs of $entry that reach new code" \
      "$BUILD/native/bin/fuzz_$entry" -merge=1 -max_len=4096 -artifact_prefix="$BUILD/fuzz/$entry-" \
      "tests/fuzz/corpus/$entry" "$BUILD/fuzz/$entry"
  done
  [ "$result" = 0 ] || die "an entry crashed; its log is in $LOGS"
}
