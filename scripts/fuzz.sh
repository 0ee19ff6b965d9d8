#!/usr/bin/env bash
# Fuzzes each target in fuzz/ for some time, from its committed corpus. New inputs go to a copy in build/fuzz/corpus; an
# input that crashes, hangs or takes too much memory stays in build/fuzz/findings, and the script fails.
#
#   scripts/fuzz.sh [SECONDS for each target, 60 if not given]
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
seconds=${1:-60}

"$root/scripts/dependencies.sh" build checks
ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-14)
export ASAN_SYMBOLIZER_PATH UBSAN_OPTIONS=print_stacktrace=1
configure fuzz
build fuzz

cd "$root/build/fuzz"
mkdir -p findings logs corpus
shopt -s nullglob

fuzz() {
    local name=$1
    mkdir -p "corpus/$name"
    "bin/${name}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=1024 \
        -print_final_stats=1 -artifact_prefix="findings/$name-" "corpus/$name" "$root/fuzz/corpus/$name" \
        >"logs/$name.log" 2>&1 </dev/null
}

report() {
    local name=$1 status=$2
    if [ "$status" -eq 0 ]; then
        say "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "logs/$name.log") inputs in $seconds s, no finding"
    else
        tail -60 "logs/$name.log"
        say "$name: FOUND SOMETHING; the input is in build/fuzz/findings"
        failed=1
    fi
}

failed=0
targets=(bin/*_fuzz)
[ ${#targets[@]} -gt 0 ] || fail "no fuzz target was built"
# As many at a time as there are processors.
for ((first = 0; first < ${#targets[@]}; first += jobs)); do
    names=()
    processes=()
    for target in "${targets[@]:first:jobs}"; do
        name=$(basename "$target" _fuzz)
        say "$name: fuzzing for $seconds s"
        fuzz "$name" &
        names+=("$name")
        processes+=($!)
    done
    for i in "${!names[@]}"; do
        status=0
        wait "${processes[i]}" || status=$?
        report "${names[i]}" "$status"
    done
done
exit "$failed"
