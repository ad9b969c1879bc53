# shellcheck shell=bash
# The packages that a machine needs. Building needs only the tools, from any source. On systems with a list in
# tools/packages the missing packages are installed, as root or with sudo.

# os_release NAME: a value from /etc/os-release.
os_release() { sed -n "s/^$1=\"\?\([^\"]*\)\"\?\$/\1/p" /etc/os-release 2>/dev/null || true; }

# The system's name and version, as in debian-12.
distribution() { printf '%s-%s' "$(os_release ID)" "$(os_release VERSION_ID)"; }

# needs COMMAND...: the lines of the package list that these commands of this script need.
needs() {
  local list command
  list=tools/packages/$(distribution)
  [ -f "$list" ] || list=tools/packages/debian-12
  for command in "$@"; do
    awk -v command="$command" '$1 == command { print $2, $3, $4 }' "$list"
  done
}

# Programs are given by name, files by path, which may have wildcards.
is_there() { if [[ $1 == */* ]]; then compgen -G "$1" >/dev/null; else command -v "$1" >/dev/null; fi; }

# Empty when it is not installed.
installed_version() {
  (dpkg-query -W -f '${Status} ${Version}' "$1" 2>/dev/null || true) | sed -n 's/^install ok installed //p'
}

is_too_old() {
  local version
  version=$(installed_version "$1")
  [ -n "$version" ] && dpkg --compare-versions "$version" lt "$2"
}

# Prints the missing packages. Those from backports are followed by a slash.
missing_packages() {
  local package brings least
  while read -r package brings least; do
    if ! is_there "$brings" || { [ -n "$least" ] && is_too_old "$package" "$least"; }; then
      printf '%s\n' "$package${least:+/}"
    fi
  done < <(needs "$@")
}

# For systems without a list: checks the programs. CMake reports what else is missing.
require_programs() {
  local package program least missing=()
  while read -r package program least; do
    [[ $program == */* ]] || is_there "$program" || missing+=("$program")
  done < <(needs "$@")
  [ ${#missing[@]} = 0 ] || die "these programs are missing: ${missing[*]}." \
    "This script installs packages on $(cd tools/packages && echo *) (x86_64) only; this is $(distribution)" \
    "on $(uname -m). On Windows, build with CMake and the preset msvc instead."
}

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo -n env DEBIAN_FRONTEND=noninteractive "$@"
  else
    die "packages must be installed, which needs root or sudo, but neither is available."
  fi
}

# Adds backports from the machine's own source of Debian. Only packages that name it are installed from there.
# shellcheck disable=SC2016 # $(CODENAME) and $(REPO_URI) are apt-get's.
add_backports() {
  local uri keyring suite
  suite=$(os_release VERSION_CODENAME)
  if [ -n "$(apt-get indextargets --format '$(CODENAME)' "Codename: $suite-backports" 'Created-By: Packages')" ]; then
    return
  fi
  uri=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $suite" 'Created-By: Packages')
  uri=${uri%%$'\n'*}
  keyring=$( (cat /etc/apt/sources.list.d/*.sources 2>/dev/null || true) | sed -n 's/^Signed-By: *\(\/.*debian-archive.*\)$/\1/p')
  keyring=${keyring%%$'\n'*}
  [ -n "$uri" ] || die "no source of Debian's packages is configured"
  printf 'Types: deb\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n' \
    "$uri" "$suite-backports" "${keyring:-/usr/share/keyrings/debian-archive-keyring.gpg}" |
    as_root tee /etc/apt/sources.list.d/orvane-backports.sources
  as_root apt-get update
}

# install_packages NAME...: a slash after the name selects backports.
install_packages() {
  local name packages=() backports=()
  for name in "$@"; do
    if [[ $name == */ ]]; then backports+=("${name%/}"); else packages+=("$name"); fi
  done
  export DEBIAN_FRONTEND=noninteractive
  # A machine that has never fetched a package list knows no packages.
  as_root apt-get update
  if [ ${#packages[@]} -gt 0 ]; then
    apt_install "${packages[@]}"
  fi
  if [ ${#backports[@]} -gt 0 ]; then
    add_backports
    apt_install -t "$(os_release VERSION_CODENAME)-backports" "${backports[@]}"
  fi
}

apt_install() {
  as_root apt-get install -y --no-install-recommends "$@" ||
    die "these packages are missing and could not be installed; is the network there? $*"
}

# What only the tests and some other commands of ./dev need.
setup_tests() {
  setup test "$@"
  if ! have_node; then
    provide fetch
    step "Fetching a Node.js for Windows to test with (30 MB, once)" fetch_node
  fi
  if ! have_ffmpeg; then
    provide fetch
    step "Fetching an ffmpeg for Windows to test with (64 MB, once)" fetch_ffmpeg
  fi
}

# setup [COMMAND...]: installs what all commands need, and what these need.
setup() {
  provide all "$@"
  if ! have_libraries; then
    provide fetch
    step "Fetching DirectML and the HLSL compiler (about 165 MB, once)" fetch_libraries
  fi
}

provide() {
  local packages=()
  if [ ! -f "tools/packages/$(distribution)" ] || [ "$(uname -m)" != x86_64 ]; then
    require_programs "$@"
    return
  fi
  mapfile -t packages < <(missing_packages "$@")
  if [ ${#packages[@]} -gt 0 ]; then
    # In the foreground, because it may ask for a password.
    [ "$(id -u)" = 0 ] || ! command -v sudo >/dev/null || sudo -v
    step "Installing packages (${packages[*]%/})" install_packages "${packages[@]}"
  fi
}
