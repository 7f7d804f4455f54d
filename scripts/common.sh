# For the scripts beside it: where the repo is, what is said, what is installed, what is built.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\n== %s\n' "$*"; }
fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

build_packages=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libfribidi-dev libgtest-dev
  libbenchmark-dev)
# For the Windows builds: the compilers, the compiler of the type library and its imports, the tests'
# framework as source, the installers.
windows_packages=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix wine64-tools libwine-dev
  googletest wixl msitools zip python3)
# For running them.
wine_packages=(wine64 wine xvfb xauth unzip)
# For the sanitizers and the fuzzers: the compiler, its runtime, and what reads their traces.
sanitize_packages=(clang libclang-rt-dev llvm)
lint_packages=(clang-tidy clang-format python3)

# need PACKAGE...: installs what is missing, by apt, as root or through sudo.
need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "installing ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      fail "These packages are missing; install them as root, then run this again: ${missing[*]}"
    as_root=(sudo)
  fi
  # Another apt may be at work.
  local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -y -q
    -o DPkg::Lock::Timeout=600)
  local log
  log=$(mktemp)
  if ! { "${apt[@]}" update && "${apt[@]}" install --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "apt could not install ${missing[*]}"
  fi
  rm -f "$log"
}

# The one place of the version.
version_of_project() {
  local version
  version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' "$root/CMakeLists.txt")
  [ -n "$version" ] || fail "CMakeLists.txt names no version"
  echo "$version"
}

# build PRESET [TARGET...]: configures and builds; quick when nothing has changed. What
# CRONVEL_BUILT names (presets parted by blanks) was built by who calls.
build() {
  local preset=$1
  shift
  [[ " ${CRONVEL_BUILT:-} " != *" $preset "* ]] || return 0
  local targets=()
  [ $# -eq 0 ] || targets=(--target "$@")
  local folder=$root/build
  [ "$preset" = native ] || folder=$root/build-$preset
  local log=$folder/configure.log
  mkdir -p "$folder"
  (cd "$root" && cmake --preset "$preset") >"$log" 2>&1 || {
    cat "$log" >&2
    fail "configuring failed"
  }
  (cd "$root" && cmake --build --preset "$preset" "${targets[@]}")
}
