#!/usr/bin/env bash
# Installs the build into a scratch tree and builds a C and a C++ program against it: by pkg-config and by the CMake package.
# usage: install_test.sh BUILD_DIR SOURCE_DIR_OF_THIS_TEST CC CXX [FLAGS...]
set -euo pipefail
build=$1 here=$2 cc=$3 cxx=$4
shift 4
flags=("$@")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

cmake --install "$build" --prefix "$tree/usr" > "$tree/install.log"
library=$(dirname "$(find "$tree/usr" -name 'libsarvo.so.1' -o -name 'libsarvo.1.dylib')")
export PKG_CONFIG_PATH=$library/pkgconfig LD_LIBRARY_PATH=$library

expect_right() {
  local answer
  answer=$("$@")
  [ "$answer" = right ] || { echo "$*: $answer"; exit 1; }
  echo "$(basename "$1"): $answer"
}

read -r -a options <<< "$(pkg-config --cflags --libs sarvo sarko)"
"$cc" -std=c11 -Wall -Wextra -pedantic -Werror "${flags[@]}" "$here/consumer.c" -o "$tree/pkg_c" "${options[@]}" -lm
"$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror "${flags[@]}" "$here/consumer.cpp" -o "$tree/pkg_cpp" "${options[@]}"
expect_right "$tree/pkg_c"
expect_right "$tree/pkg_cpp"

mkdir "$tree/project"
cp "$here/consumer.c" "$here/consumer.cpp" "$tree/project"
cp "$here/consumer.cmake.in" "$tree/project/CMakeLists.txt"
cmake -S "$tree/project" -B "$tree/project/build" -DCMAKE_PREFIX_PATH="$tree/usr" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="${flags[*]-}" -DCMAKE_CXX_FLAGS="${flags[*]-}" > "$tree/cmake.log"
cmake --build "$tree/project/build" > "$tree/build.log"
expect_right "$tree/project/build/consumer_c"
expect_right "$tree/project/build/consumer_cpp"
expect_right env -u LD_LIBRARY_PATH "$tree/project/build/consumer_static"

[ ! -x "$tree/usr/bin/sarvo" ] || env -u LD_LIBRARY_PATH "$tree/usr/bin/sarvo" --version
if [ -x "$tree/usr/bin/sarvo" ]; then # what it wrote about itself is there too
  for file in man/man1/sarvo.1 man/man1/sarvo-fit.1 bash-completion/completions/sarvo zsh/site-functions/_sarvo fish/vendor_completions.d/sarvo.fish; do
    [ -s "$tree/usr/share/$file" ] || { echo "$file is missing"; exit 1; }
  done
fi
