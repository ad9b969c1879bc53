# shellcheck shell=bash
# The benchmark.

# bench [OPTION...] [SECTION...]
bench() {
  setup bench
  if ! have_baseline; then
    provide fetch
    step "Fetching ONNX Runtime to compare with (about 165 MB, once)" fetch_baseline
  fi
  need_wine
  build mingw-release --target bench
  run "$PYTHON" bench --out "$BUILD/bench" "$@"
  say "The results are in $BUILD/bench: results.json, results.md and frames.svg"
}
