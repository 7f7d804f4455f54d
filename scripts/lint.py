#!/usr/bin/env bash
# Runs clang-tidy over the native build's sources; installs it when missing. Takes some minutes.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
need "${build_packages[@]}" clang-tidy
say "preparing the list of compilations"
build native >/dev/null
cd "$root"
say "linting"
git ls-files '*.cpp' | grep -vE '^(tests|bench)/' |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet --warnings-as-errors='*'
