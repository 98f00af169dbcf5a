#!/usr/bin/env bash
# Formatting is what .clang-format says; prints each place that differs, and fails.
cd "$(dirname "$0")/.."
git ls-files -- '*.cpp' '*.h' '*.c' | xargs -r clang-format --dry-run --Werror
