# shellcheck shell=bash
# The checks besides the tests: format, code, scripts, validation layers.

VALIDATION=$BUILD/validation

# validated NAME PROGRAM [ARGUMENT...]: runs a program under the Vulkan validation layer, with its output in NAME.log.
validated() {
  VK_INSTANCE_LAYERS=VK_LAYER_KHRONOS_validation VK_LAYER_SETTINGS_PATH=$PWD/tests/validation \
    tools/wine/run-wine "$BIN/$2.exe" "${@:3}" >"$VALIDATION/$1.log" 2>&1 || {
    cat "$VALIDATION/$1.log"
    return 1
  }
}

# messages NAME...: the layer's messages without the parts that differ between runs: handles, numbers, explanations.
messages() {
  sed -nE 's/^(\S+)\(.*msgNum: .*\| MessageID = 0x[0-9a-f]+ \| (.*)/\1 \2/p' "${@/#/$VALIDATION/}" |
    sed -E 's/\. The Vulkan .*//; s/0x[0-9a-f]+/H/g; s/[0-9]+/N/g'
}

# Fails on messages that Direct3D and DirectML do not cause by themselves.
validate() {
  local frames=(frames.log frames_nhwc.log exports.log)
  setup validate
  need_wine
  build mingw-release
  mkdir -p "$VALIDATION"
  step "Running Direct3D and DirectML alone" validated baseline validation_baseline
  step "Leaving a barrier out" validated fault validation_baseline fault
  step "Running the frame tests" validated frames frames_test '--gtest_filter=*Frames*'
  step "Running the frame tests on NHWC tensors" validated frames_nhwc frames_nhwc_test '--gtest_filter=*Frames*'
  step "Running the tests of the exports, which change sizes" validated exports exports_test
  messages baseline.log | sort -u >"$VALIDATION/known.txt"
  messages fault.log | sort -u | comm -23 - "$VALIDATION/known.txt" | grep '^SYNC-HAZARD' >/dev/null ||
    die "the missing barrier was not reported: the checks are not active"
  if messages "${frames[@]}" | sort -u | comm -23 - "$VALIDATION/known.txt" | grep .; then
    die "the library causes these messages; the logs are in $VALIDATION"
  fi
  say "$(messages "${frames[@]}" | sort -u | wc -l) kinds of message, $(messages "${frames[@]}" | wc -l) in all." \
    "Direct3D and DirectML cause each of these kinds alone."
}

sources() { git ls-files --cached --others --exclude-standard '*.cpp' '*.h' '*.hpp' '*.c'; }

check_format() { sources | xargs clang-format --dry-run --Werror; }

check_scripts() { shellcheck -x dev .ci/run tools/wine/run-wine tools/wine/wine-session bench/on_card/run tests/package/try-package tests/program/stream_lines.sh; }

check_spelling() { git ls-files -z -co --exclude-standard ':!tests/fuzz/corpus' | xargs -0 codespell; }

check_python() { git ls-files -z -co --exclude-standard '*.py' | xargs -0 flake8; }

# clang reads the same files with the same flags and MinGW's headers, for the warnings of a second compiler.
check_tidy() {
  local gcc_folder flag flags=(-Wno-unknown-warning-option -Wno-unused-command-line-argument)
  gcc_folder=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=include)")
  for flag in -nostdinc++ -isystem "$gcc_folder/include/c++" -isystem "$gcc_folder/include/c++/x86_64-w64-mingw32"; do
    flags+=("$flag")
  done
  # shellcheck disable=SC2046
  sources | grep -E '\.(cpp|c)$' | grep -v -e '^tests/fuzz/' $(have_baseline || printf -- '-e ^bench/workers/baseline') | xargs -P "$(nproc)" -n 4 \
    clang-tidy --quiet -p "$BUILD/mingw-release" $(printf -- '--extra-arg=%s ' "${flags[@]}")
  # These are only for clang.
  clang-tidy --quiet -p "$BUILD/native" tests/fuzz/*.cpp
}

# The headers that a host compiles with Visual C++. Its own headers are missing here; clang's have what orvane.h needs.
check_interface() {
  local language
  for language in "c -std=c99" "c++ -std=c++17"; do
    # shellcheck disable=SC2086 # two words
    clang --target=x86_64-pc-windows-msvc -ffreestanding -fsyntax-only -x $language -Wall -Wextra -pedantic -Werror api/orvane.h
  done
}

# What Visual C++ refuses and the compilers here do not: its iterators of arrays are no pointers, and Windows' own headers
# define two names that MinGW's do not. Comments and strings may say anything.
check_visual_cpp() {
  # shellcheck disable=SC2016 # Perl's own variables
  sources | xargs perl -0777 -ne '
    s{//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"}{$& =~ tr/\n//cdr}egs;
    my $iterator = qr/std::(?:ranges::)?\w*(?:find|search|bound|element|partition|mismatch|next|prev)\w*\(|[\w.]+\.c?(?:begin|end)\(/;
    while (/\b(?:small|hyper)\b|\bauto\s*\*[^;={}()]*=\s*$iterator/g) {
      print "$ARGV:", 1 + (substr($_, 0, $-[0]) =~ tr/\n//), ": $&\n";
      $found = 1;
    }
    END { exit($found // 0) }'
}

lint() {
  setup lint
  build native
  build mingw-release
  step "Checking the scripts (shellcheck)" check_scripts
  step "Checking the spelling (codespell)" check_spelling
  step "Checking the Python code (flake8)" check_python
  step "Checking the format (clang-format)" check_format
  step "Checking the interface for Visual C++ (clang)" check_interface
  step "Checking for what Visual C++ refuses (patterns)" check_visual_cpp
  step "Checking the code (clang-tidy and clang's warnings)" check_tidy
  say "No complaints."
}
