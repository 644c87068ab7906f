# What fuzz/run, fuzz/replay, fuzz/minimise and fuzz/coverage share. To be read
# from the root of the project.

fuzz_targets=(addresses properties replies calls model simulations line captures tags tcp)
fuzz_build=build/fuzz

# Longest inputs that are tried, in bytes.
declare -A fuzz_longest=([addresses]=200 [properties]=120 [replies]=1000 [calls]=2400 [model]=800 [simulations]=600 [line]=1500 [captures]=1500 [tags]=500 [tcp]=1500)

build_fuzz_targets()
{
    scripts/install-dependencies build host fuzz test demo
    cmake -S . -B "$fuzz_build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=clang++ \
        -DMODBUS_BUILD_FUZZ=ON -DMODBUS_BUILD_TESTS=OFF -DMODBUS_BUILD_HOST=OFF -DCMAKE_UNITY_BUILD=ON "$@" >/dev/null
    ninja -C "$fuzz_build" -j "${MODBUS_JOBS:-$(nproc)}" "${fuzz_targets[@]/#/fuzz_}" >"$fuzz_build/build.log" || {
        tail -n 40 "$fuzz_build/build.log" >&2
        return 1
    }
}

# fuzz_target TARGET [libFuzzer option or corpus folder...]: findings go to build/fuzz/findings/.
fuzz_target()
{
    local target=$1 asan=
    shift
    local options=(-max_len="${fuzz_longest[$target]}" -timeout=30 -rss_limit_mb=3000 -print_final_stats=1
        -artifact_prefix="$fuzz_build/findings/$target-")
    # Which inputs are rare is not worth a third of the time, nor is who allocated each block:
    # a finding, run again alone, tells it.
    case $target in
        replies | calls) options+=(-entropic=0) asan=malloc_context_size=1:quarantine_size_mb=8 ;;
    esac
    [ ! -f "fuzz/dictionaries/$target.dict" ] || options+=(-dict="fuzz/dictionaries/$target.dict")
    mkdir -p "$fuzz_build/findings"
    ASAN_OPTIONS=$asan "$fuzz_build/fuzz/fuzz_$target" "${options[@]}" "$@"
}

# report_target TARGET LOG STATUS: one line about a run.
report_target()
{
    local executions edges inputs calls
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$2")
    edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$2" | tail -n 1)
    inputs=$(sed -n 's/.* corp: \([0-9]*\)\/.*/\1/p' "$2" | tail -n 1)
    calls=$(sed -n 's/^stat::driver_calls: *//p' "$2")
    printf '%-11s %9s executions, %9s driver calls, %5s edges, %5s inputs kept: %s\n' "$1" "${executions:-?}" \
        "${calls:--}" "${edges:-?}" "${inputs:-?}" "$([ "$3" -eq 0 ] && echo 'no finding' || echo "FINDING, see $2")"
}

# in_parallel FUNCTION ITEM...: FUNCTION for each item, as many at a time as there
# are cores; fails when one of them failed.
in_parallel()
{
    local function=$1 running=0 failed=0 item
    shift
    for item in "$@"; do
        "$function" "$item" &
        running=$((running + 1))
        if [ "$running" -ge "${MODBUS_JOBS:-$(nproc)}" ]; then
            wait -n || failed=1
            running=$((running - 1))
        fi
    done
    while [ "$running" -gt 0 ]; do
        wait -n || failed=1
        running=$((running - 1))
    done
    return "$failed"
}
