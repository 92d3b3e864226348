#!/usr/bin/env bash
# Counts non-blank, non-comment lines of C++ (.cpp/.h) in the code (src/, app/) and in the
# tests (tests/, with its support files), and prints the tests' share of the code.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
    find "$@" -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | sort -z |
        xargs -0 -r awk '
            FNR == 1 { inBlock = 0 }
            {
                line = $0; code = 0
                while (line != "") {
                    if (inBlock) {
                        end = index(line, "*/")
                        if (end == 0) { line = ""; break }
                        line = substr(line, end + 2); inBlock = 0
                        continue
                    }
                    sub(/^[ \t\r]+/, "", line)
                    if (line == "" || substr(line, 1, 2) == "//") break
                    if (substr(line, 1, 2) == "/*") { inBlock = 1; line = substr(line, 3); continue }
                    code = 1; break
                }
                if (code) n++
            }
            END { print n + 0 }' | awk '{ s += $1 } END { print s + 0 }'
}

code=$(count src app)
tests=$(count tests)
echo "code (src/, app/): $code lines"
echo "tests (tests/):    $tests lines"
awk -v t="$tests" -v c="$code" 'BEGIN { printf "tests are %.1f %% of the code\n", c ? 100 * t / c : 0 }'
