#!/usr/bin/env bash
# Prints each place that differs from .clang-format, and fails if there is one.
cd "$(dirname "$0")/.."
git ls-files -- '*.cpp' '*.h' '*.c' | xargs -r clang-format --dry-run --Werror
