#!/usr/bin/env bash
# Runs a program of tests and prints of it what did not go well. It has to say that its tests passed: one that a fault
# or a call ended in their midst may end with any exit code.
set -o pipefail
"$@" 2>&1 | awk '
    /^\[ RUN / { running = $0; next }
    /^\[ +OK \]/ { running = ""; next }
    /^\[-+\]/ || /^\r?$/ { next }
    /^\[  PASSED  \]/ { passed = 1 }
    { if (running) print running; running = ""; print }
    END { if (running) print running; exit !passed }'
