# shellcheck shell=bash
# The benchmark.

# bench [OPTION...] [SECTION...]
bench() {
  setup
  if ! have_peer; then
    provide fetch
    step "Fetching ONNX Runtime to compare with (about 165 MB, once)" fetch_peer
  fi
  need_wine
  build mingw-release --target bench
  ORVANE_WINE_TIMEOUT=3600 run tools/wine/run-wine "$BIN/bench.exe" --out "$BUILD/bench" "$@"
  say "The results are in $BUILD/bench: results.json, results.md and frames.svg"
}
