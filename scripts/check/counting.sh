# Runs stages and counts their tests. Read by ./check.

total_passed=0
total_failed=0
total_skipped=0
summary=()
test_environment=() # NAME=VALUE words for the tests that run_tests starts

# count PASSED FAILED SKIPPED: adds to the stage that is running.
count()
{
    stage_passed=$((stage_passed + $1))
    stage_failed=$((stage_failed + $2))
    stage_skipped=$((stage_skipped + $3))
}

# skip REASON: says aloud that the running stage was left out.
skip()
{
    stage_note="skipped: $1"
    echo "SKIPPED $stage: $1"
    count 0 0 1
}

# announce NAME: what runs now; the outcome follows on the same line.
announce()
{
    printf '  %-48s ' "$1"
    step_start=$SECONDS
}

# outcome TEXT: what became of it, and how long it took.
outcome()
{
    printf '%6s  %s\n' "$(clock $((SECONDS - step_start)))" "$1"
}

# attempt NAME COMMAND...: COMMAND's output goes to the log, and to the terminal
# when it fails; only failures count.
attempt()
{
    local name=$1 log="$log_folder/$stage-${1// /-}.log"
    shift
    announce "$name"
    if "$@" >"$log" 2>&1; then
        outcome ok
        return 0
    fi
    outcome "FAIL (log: $log)"
    show_failure "$log"
    count 0 1 0
    return 1
}

# step NAME COMMAND...: one counted check.
step()
{
    attempt "$@" || return 1
    count 1 0 0
}

show_failure()
{
    grep -nE ' error: |^FAILED|\*\*\*(Failed|Timeout)|ERROR: ' "$1" | cut -c1-200 | head -n 40 || true
    echo "  ... end of $1:"
    tail -n 60 "$1"
}

# What the first tests that failed have printed, when LOG is that of CTest.
show_failed_tests()
{
    echo "  ... the tests that failed, in $1:"
    awk '/^ *[0-9]+\/[0-9]+ Test/ { shown = /\*\*\*/ } shown && ++lines <= 200' "$1" | sed 's/\.\{4,\}/.../'
}

# Reads the number in ATTRIBUTE="N" of the first line that carries it.
junit_number()
{
    sed -n "s/.*[ \t]$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1
}

# run_tests BUILD_FOLDER [ctest argument...]: runs CTest and counts its tests. A
# run without any test is a failure: something was not built or not found.
run_tests()
{
    local folder=$1 report="$PWD/$1/ctest.xml" log="$log_folder/$stage-ctest.log" status=0
    shift
    rm -f "$report"
    announce tests
    env "${test_environment[@]}" ctest --test-dir "$folder" -j "$jobs" --output-on-failure --no-tests=error --output-junit "$report" "$@" \
        >"$log" 2>&1 || status=$?
    if [ ! -s "$report" ]; then
        outcome "FAIL (log: $log)"
        show_failure "$log"
        count 0 1 0
        return 1
    fi
    local tests failed skipped
    tests=$(junit_number "$report" tests)
    failed=$(junit_number "$report" failures)
    skipped=$(($(junit_number "$report" skipped) + $(junit_number "$report" disabled)))
    count $((tests - failed - skipped)) "$failed" "$skipped"
    outcome "$((tests - failed - skipped)) of $tests passed"
    if [ "$status" -eq 0 ]; then
        return 0
    fi
    [ "$failed" -gt 0 ] || count 0 1 0
    show_failed_tests "$log"
    show_failure "$log"
    return 1
}

# number_of_tests BUILD_FOLDER [ctest argument...]
number_of_tests()
{
    local folder=$1
    shift
    ctest --test-dir "$folder" -N "$@" | sed -n 's/^Total Tests: //p'
}

# count_left_out BUILD_FOLDER LABEL: says and counts the tests that this stage cannot run.
count_left_out()
{
    local number
    number=$(number_of_tests "$1" -L "$2")
    echo "  left out: $number tests labelled '$2'"
    count 0 0 "$number"
}

clock()
{
    printf '%d:%02d' $(($1 / 60)) $(($1 % 60))
}

run_stage()
{
    stage=$1
    stage_passed=0 stage_failed=0 stage_skipped=0 stage_note=
    local start=$SECONDS
    echo "== $stage: ${stage_purpose[$stage]}"
    # A stage that ends early without having counted a failure still failed.
    if ! "stage_$stage" && [ "$stage_failed" -eq 0 ]; then
        count 0 1 0
    fi
    total_passed=$((total_passed + stage_passed))
    total_failed=$((total_failed + stage_failed))
    total_skipped=$((total_skipped + stage_skipped))
    summary+=("$(printf '%-14s %5d passed %4d failed %4d skipped  %6s  %s' "$stage" "$stage_passed" \
        "$stage_failed" "$stage_skipped" "$(clock $((SECONDS - start)))" "$stage_note")")
    echo "${summary[-1]}"
}

print_summary()
{
    echo
    printf '%s\n' "${summary[@]}"
    echo "Time in all: $(clock $SECONDS)"
    if [ "$total_skipped" -gt 0 ]; then
        echo "$total_passed passed, $total_failed failed, $total_skipped skipped"
    else
        echo "$total_passed passed, $total_failed failed"
    fi
}
