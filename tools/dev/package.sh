# shellcheck shell=bash
# The package and the reference documents.

# Every file gets the commit's time, so that the same commit gives the same bytes.
pack() {
  export SOURCE_DATE_EPOCH
  SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
  rm -rf "$BUILD/package"
  (cd "$BUILD/mingw-release" && cpack)
}

package() {
  local archive
  build mingw-release --target orvane_cli --target orvane_weights --target orvane_import_libraries
  step "Packing" pack
  archive=$(echo "$BUILD"/package/orvane-*.zip)
  cmake -E tar tf "$archive"
  say "$archive: $(stat -c %s "$archive") bytes, SHA-256 $(cut -d ' ' -f 1 "$archive.sha256")"
  [ -z "$(git status --porcelain)" ] || say "It holds changes that are not committed."
}

# manual_page: the help of all commands as a manual page.
manual_page() {
  local name
  printf '.TH ORVANE 1 "" "Orvane" "User commands"\n.SH NAME\norvane \\- image and video upscaler\n'
  for name in '' $("$PWD/tools/wine/run-wine" "$BIN/orvane.exe" --help | tr -d '\r' | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/\1/p'); do
    printf '.SH "ORVANE %s"\n.nf\n' "${name^^}"
    # shellcheck disable=SC2086 # no name, no argument
    "$PWD/tools/wine/run-wine" "$BIN/orvane.exe" $name --help | tr -d '\r' | sed 's/\\/\\e/g; s/-/\\-/g; s/^[.'"'"']/\\\&&/'
    printf '.fi\n'
  done
}

write_manual_page() { manual_page >"$BUILD/docs/orvane.1"; }

docs() {
  need_wine
  provide docs
  build mingw-release --target orvane_cli
  mkdir -p "$BUILD/docs"
  step "Writing the reference of the interface (Doxygen)" doxygen docs/api/Doxyfile
  step "Writing the manual page" write_manual_page
  say "$BUILD/docs/html/index.html, $BUILD/docs/orvane.1"
}
