#!/usr/bin/env bash
# Runs a program and compares what it prints with a file, line by line.
# usage: run_example.sh PROGRAM EXPECTED
set -euo pipefail
actual=$("$1")
diff <(printf '%s\n' "$actual") "$2" || { echo "$1 does not print what $2 says"; exit 1; }
echo "$(wc -l < "$2") lines as expected"
