# Sourced by the project's scripts: installs the Debian packages the build,
# the tests and the benchmarks need, and creates the "Chinese-simplified"
# locale that makes the library's locale switch observable.

KELP_DEBIAN_PACKAGES=(
  cmake ninja-build g++ pkg-config locales
  googletest libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
  libjpeg-dev libpng-dev libtiff-dev libstb-dev
  libassimp-dev libtinyobjloader-dev
  python3 python3-matplotlib
  python3-dev pybind11-dev python3-numpy python3-pytest python3-distributed python3-meshio
)

# The Windows build only: the MinGW-w64 cross compiler and Wine to run its
# tests (about 190 MB), installed by the step that needs them.
KELP_WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix wine64 wine)

kelp_missing_packages() {
  local pkg missing=()
  for pkg in "${KELP_DEBIAN_PACKAGES[@]}" "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$pkg")
    fi
  done
  echo "${missing[@]}"
}

# kelp_install_deps [extra packages...]
kelp_install_deps() {
  local missing
  missing=$(kelp_missing_packages "$@")
  if [ -n "$missing" ]; then
    if [ "$(id -u)" = 0 ]; then
      echo "== installing Debian packages: $missing"
      export DEBIAN_FRONTEND=noninteractive
      apt-get update -q >/dev/null
      # shellcheck disable=SC2086
      apt-get install -y -q --no-install-recommends $missing >/dev/null
    else
      echo "Missing Debian packages. Install them with:" >&2
      echo "  sudo apt-get install -y $missing" >&2
      return 1
    fi
  fi
  kelp_make_reader_locale
}

kelp_install_windows_deps() {
  kelp_install_deps "${KELP_WINDOWS_PACKAGES[@]}"
}

# The library switches to "Chinese-simplified"; where the locale exists the
# tests can see the switch, elsewhere they skip those checks.
kelp_make_reader_locale() {
  if locale -a 2>/dev/null | grep -qx 'Chinese-simplified'; then return 0; fi
  if [ "$(id -u)" = 0 ] && command -v localedef >/dev/null; then
    localedef -i zh_CN -f UTF-8 Chinese-simplified 2>/dev/null ||
      echo "note: could not create the Chinese-simplified locale; locale tests will skip" >&2
  else
    echo "note: run 'sudo localedef -i zh_CN -f UTF-8 Chinese-simplified' to enable the locale tests" >&2
  fi
  return 0
}

# kelp_build <preset>: configure and build one CMake preset.
kelp_build() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
}
