#!/bin/sh
# Fails, listing the places, when a C++ file of the repository is not as
# clang-format (with the project's .clang-format) would write it. To fix:
#   git ls-files '*.cpp' '*.h' | xargs clang-format -i
set -eu
cd "$(dirname "$0")/.."
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
