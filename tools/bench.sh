# The benchmarks, and what their ratios have to keep. Sourced by ./dev, after tools/environment.sh.

bench_jobs=(classify frame json number persist propset time xml)
engine_bench_jobs=" json number xml "  # these have a part that runs natively

# Times one job: time_job JOB
time_job() {
    wine64 "$build/release/bin/bench.exe" "$1" || return
    [[ "$engine_bench_jobs" != *" $1 "* ]] || "$build/engine-bench/bin/engine-bench" "$1"
}

# Prints what of a job's figures is missing, is not expected or falls short of bench/expected.tsv by more than noise:
# shortfalls JOB FIGURES
shortfalls() {
    awk -F '\t' -v job="$1" -v noise=0.15 '
        NR == FNR { if ($1 == job) expected[$2 " against " $3] = $4; next }
        { found[$1 " against " $3] = $5 + 0 }  # the line may end as Windows ends lines
        END {
            for (line in expected) {
                if (!(line in found)) print line ": not measured"
                else if (found[line] < expected[line] * (1 - noise))
                    printf "%s: ratio %.2f, expected %.2f\n", line, found[line], expected[line]
            }
            for (line in found)
                if (!(line in expected)) printf "%s: ratio %.2f, without a row in bench/expected.tsv\n", line, found[line]
        }' "$root/bench/expected.tsv" "$2" | sort
}

# Times a job and, where something falls short, once more: only what falls short twice is more than a disturbance.
check_job() {
    local figures again short="the program of the job $1 failed"
    figures=$(mktemp) again=$(mktemp)
    if time_job "$1" | tee "$figures"; then
        short=$(shortfalls "$1" "$figures")
        if [ -n "$short" ]; then
            if time_job "$1" >"$again"; then
                short=$(shortfalls "$1" <(sort -t $'\t' -k 1,1 -k 3,3 -k 5,5n "$figures" "$again"))
            else
                short="the program of the job $1 failed when it ran again"
            fi
        fi
    fi
    rm "$figures" "$again"
    [ -z "$short" ] || { echo "$short" >&2 && return 1; }
}

# Times jobs, all of them by default, into build/bench.tsv, and with --check holds them against what is expected.
run_bench() {
    local time=time_job job
    if [ "${1:-}" = --check ]; then
        time=check_job
        shift
    fi
    for job in "$@"; do
        [[ " ${bench_jobs[*]} " == *" $job "* ]] || { say "there is no job $job: ${bench_jobs[*]}" && return 2; }
    done
    [ $# -gt 0 ] || set -- "${bench_jobs[@]}"
    build_preset release movaSystem mova-bench
    build_preset engine-bench
    register_preset release
    {
        local failed=0
        for job in "$@"; do "$time" "$job" || failed=1; done
        return "$failed"
    } | tee "$build/bench.tsv"
}
