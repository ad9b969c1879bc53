# shellcheck shell=bash
# Building, testing, coverage, long runs.

configure_and_build() {
  local preset=$1
  shift
  cmake --preset "$preset"
  cmake --build --preset "$preset" "$@"
}

# build [PRESET [--target NAME...]]
build() {
  local preset=${1:-mingw-release}
  shift || true
  case $preset in
  mingw-release | mingw-debug | mingw-coverage | native) ;;
  *) die "no such preset: $preset (mingw-release, mingw-debug, mingw-coverage, native)" ;;
  esac
  setup
  step "Building ($preset)" configure_and_build "$preset" "$@"
}

run_tests() {
  setup_tests
  need_wine
  build native
  build mingw-release
  say "Testing the portable parts under the sanitizers"
  run ctest --preset native --parallel "$(nproc)"
  say "Testing the library under Wine"
  run ctest --preset mingw-release --parallel "$(nproc)"
  say "Failures tried, and the short soak:"
  grep -a -E 'failure points of|size changes:' "$BUILD/mingw-release/Testing/Temporary/LastTest.log"
}

# In code that never ran, gcovr counts all branches, including those that only an exception takes.
count_coverage() {
  gcovr --root . --filter '(api|model|engine|gpu|apps)/' --gcov-executable x86_64-w64-mingw32-gcov-posix \
    --exclude-throw-branches --exclude-unreachable-branches --json "$1" "$BUILD/mingw-coverage"
}

coverage() {
  local data=$BUILD/coverage.json
  setup_tests coverage
  need_wine
  build mingw-coverage
  # Programs add to the counts of earlier runs, which the build also starts.
  find "$BUILD/mingw-coverage" -name '*.gcda' -delete
  step "Testing the library under Wine, counting" ctest --preset mingw-coverage --parallel "$(nproc)"
  step "Collecting the counts" count_coverage "$data"
  say "Branches (those that only an exception takes or that GCC made up are left out)"
  gcovr --add-tracefile "$data" --branches
  say "Lines"
  gcovr --add-tracefile "$data" --print-summary |
    sed -E '/^functions:/d; s/^(lines|branches): (.*)% \((.*) out of (.*)\)$/\1: \2 %  (\3 of \4)/'
}

# soak [MINUTES [SEED]]
soak() {
  local minutes=${1:-5}
  [[ $minutes =~ ^[1-9][0-9]{0,3}$ ]] || die "not a number of minutes: $minutes"
  setup
  need_wine
  build mingw-release --target soak
  ORVANE_WINE_TIMEOUT=$((minutes * 60 + 600)) run tools/wine/run-wine "$BIN/soak.exe" "$minutes" "${@:2}"
}

clean() {
  if [ "${1:-}" = --all ]; then
    rm -rf "$BUILD"
  elif [ -d "$BUILD" ]; then
    find "$BUILD" -mindepth 1 -maxdepth 1 ! -name windows-libraries ! -name onnxruntime ! -name node -exec rm -rf {} +
  fi
}
