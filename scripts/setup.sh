# Sourced by ./run and ./test: makes sure that the Debian packages they need are there.

# need_packages NAME...: installs those that are missing, by name, saying so; as root or through sudo. Otherwise prints the line to run.
need_packages() {
  command -v dpkg-query > /dev/null || return 0 # not Debian: the configure step says what is missing
  local missing=() name
  for name in "$@"; do
    dpkg-query -W -f '${Status}' "$name" 2> /dev/null | grep -q '^install ok installed' || missing+=("$name")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local install=(apt-get install -y --no-install-recommends "${missing[@]}") as_root=()
  if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo > /dev/null || ! sudo -v; then
      echo "Packages are missing. Run as root: apt-get update && ${install[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "Installing: ${missing[*]}" >&2
  "${as_root[@]}" apt-get update -qq >&2
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" "${install[@]}" -qq > /dev/null
}

build_packages=(g++ cmake ninja-build libcli11-dev zlib1g-dev)
test_packages=(libgtest-dev pkg-config binutils)
fuzz_packages=(clang libclang-rt-dev)
bench_packages=(libopenblas-serial-dev liblapacke-dev libeigen3-dev libblis4-serial libfftw3-dev libsuitesparse-dev libboost-dev python3-numpy)

jobs=$(nproc 2> /dev/null || echo 2)
