# The stages of ./check: for each a purpose and a function stage_NAME. Read by
# ./check, which supplies the counting.

# What a change needs, and the whole matrix, the quick ones with the most to say first.
quick_stages=(release thread abi)
all_stages=(style "${quick_stages[@]}" checked sanitize fuzz counts package demo qt6 quick tools)
extra_stages=(machine-armhf machine-s390x machine-arm64 machine-armel machine-i386 coverage)

# Hosts, and tests of them, that are to run under the contract checker: see the stage checked.
checked_label=checked
# They ask a host for what the checker advises against, or hand the driver what a host should keep from it.
wanted_findings=(
    LinkReplies.AreTakenByLengthAndCheckSumAloneOnRequest
    LinkExchange.WarnsOfRepliesThatAreTakenByLengthAloneAndLookWrong
    'LinkWrite(s|Ends).KeptLocal'
    PlanView.WarnsOfBlocks
    PlanView.LeavesAFreshDriverBehind
    'Faults\..*/(WrongStation|WrongFunction|Echo|TooLong|LateReply)On'
    Reads.CarryTheLongestBlocks
    Recipes.LoadBeforeTheySaveWhenBothAreWanted
    Writes.ToReadOnlyTypesAreShownButNotSent
)

# Tests that show that a tool notices what it is there for: see the stage tools.
tools_label=tools

declare -A stage_purpose=(
    [release]="Qt 5, g++, optimised: all tests"
    [sanitize]="Qt 5, g++, address and undefined-behaviour sanitizers: all tests"
    [thread]="Qt 5, g++, thread sanitizer: the tests labelled 'threads'"
    [fuzz]="the fuzz targets: corpora, and a bounded number of further inputs each"
    [counts]="what a poll step costs, in instructions and lines of a cold cache, against the kept table"
    [demo]="the demo: the driver against simulated slaves"
    [qt6]="Qt 6, clang++: all tests"
    [quick]="the Qt Quick module and the example panel, g++, with Qt 5 and 6, without a display, and with the thread sanitizer; the interface of the kit with Qt 6 against its baseline"
    [checked]="our hosts, and the tests of them, under the contract checker"
    [abi]="exported names and layouts against their baseline"
    [tools]="that the comparison of interfaces, the analyzer and the soak notice what goes wrong: counts when it fails"
    [package]="installation, hosts built outside the tree, Debian packages"
    [style]="clang-format over all of our sources, clang-tidy over all but the tests"
    [coverage]="line and branch coverage of the product folders"
)

# The options that the sanitizers read at run time; set for the tests only, the
# compilers' own leaks are none of our business.
sanitizer_options=(
    ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1:abort_on_error=0
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
)

# What a stage sets besides its preset. Several sources in one are compiled in half the
# time; that each includes what it uses, one stage shows, and everybody's own build.
preset_options=()
merged_sources=(-DMODBUS_QUICK_TESTS=ON -DCMAKE_UNITY_BUILD=ON)

install_for()
{
    attempt "install" scripts/install-dependencies "$@"
}

# with_environment NAME=VALUE... -- COMMAND...: the variables reach the tests
# that COMMAND runs, and nothing else.
with_environment()
{
    local test_environment=()
    while [ "$1" != -- ]; do
        test_environment+=("$1")
        shift
    done
    shift
    "$@"
}

# build_preset PRESET [cmake --build argument...]
build_preset()
{
    local preset=$1
    shift
    attempt "configure $preset" cmake --preset "$preset" "${merged_sources[@]}" "${preset_options[@]}" || return 1
    attempt "build $preset" cmake --build --preset "$preset" -j "$jobs" "$@"
}

# whole_preset PRESET: builds everything and runs every test.
whole_preset()
{
    build_preset "$1" || return 1
    run_tests "build/$1" -LE "$tools_label"
}

stage_release()
{
    install_for build host demo test || return 1
    whole_preset release
}

# Our hosts keep to the contract: the first finding, be it a hint, ends the program.
stage_checked()
{
    install_for build host demo test || return 1
    build_preset release || return 1
    local checker=$PWD/build/release/lib/libmodbus_rtu_master_check.so.1
    with_environment MODBUS_RTU_CHECK_ABORT=hint MODBUS_TEST_DRIVER="$checker" -- \
        run_tests build/release -L "$checked_label" -E "$(IFS='|'; echo "${wanted_findings[*]}")"
    step "the demo" checked_demo "$checker"
}

# checked_demo CHECKER: a folder in which the demo finds the checker for the driver.
checked_demo()
{
    local folder=build/checked
    rm -rf "$folder"
    mkdir -p "$folder/bin" "$folder/lib"
    cp build/release/bin/rtu_demo "$folder/bin"
    ln -s "$1" "$folder/lib/libmodbus_rtu_master.so.1"
    MODBUS_RTU_CHECK_ABORT=hint MODBUS_RTU_DRIVER=$(dirname "$1")/libmodbus_rtu_master.so.1 "$folder/bin/rtu_demo" host/demo
}

stage_sanitize()
{
    install_for build host demo test || return 1
    build_preset sanitize || return 1
    # Random tests run their whole length without sanitizers.
    with_environment "${sanitizer_options[@]}" MODBUS_STEPS=20000 -- run_tests build/sanitize -LE "$tools_label"
}

stage_thread()
{
    install_for build host demo test || return 1
    build_preset thread --target thread_tests || return 1
    if [ "$(number_of_tests build/thread -L threads)" -eq 0 ]; then
        skip "no test is labelled 'threads'"
        return 0
    fi
    with_environment "${sanitizer_options[@]}" -- run_tests build/thread -L threads
}

# The compiler is the one that g++ is not: with both of them and both Qt there would be
# two more stages that say little more. Each source of the product is compiled alone.
stage_qt6()
{
    local preset_options=(-DCMAKE_UNITY_BUILD=OFF)
    install_for build host demo test qt6 clang || return 1
    whole_preset qt6-clang
}

# What is built and run is the module, the panel and the kit below, which other stages
# have built with Qt 5; the rest has stages of its own.
stage_quick()
{
    local preset preset_options=(-DMODBUS_BUILD_QUICK=ON)
    install_for build host demo test quick quick6 abi || return 1
    for preset in release quick-qt6; do
        build_preset "$preset" --target quick_module_tests panel modbus_rtu_host || return 1
        run_tests "build/$preset" -L quick
    done
    step "interface of the kit is that of the baseline" scripts/abi-check build/quick-qt6/lib/libmodbus_rtu_host.so.1
    build_preset thread --target quick_module_tests || return 1
    with_environment "TSAN_OPTIONS=halt_on_error=1:suppressions=$PWD/tests/quick/qt.suppressions" -- \
        run_tests build/thread -L quick
}

stage_fuzz()
{
    local target
    install_for build host fuzz test || return 1
    attempt "build fuzz targets" bash -c 'source fuzz/common.sh && build_fuzz_targets' || return 1
    for target in $(bash -c 'source fuzz/common.sh && echo "${fuzz_targets[@]}"'); do
        step "fuzz $target" fuzz/replay "$target"
        grep executions "$log_folder/fuzz-fuzz-$target.log" | sed 's/^/        /' || true
    done
}

stage_counts()
{
    local status=0 log="$log_folder/counts-compare.log"
    install_for build host test bench valgrind || return 1
    announce "compare"
    bench/compare >"$log" 2>&1 || status=$?
    case $status in
        0) outcome ok; count 1 0 0 ;;
        77) outcome skipped; skip "$(tail -n 1 "$log")" ;;
        *) outcome "FAIL (log: $log)"; tail -n 40 "$log"; count 0 1 0 ;;
    esac
    # What has become cheaper is told as well: the table is then too generous.
    [ "$status" -ne 0 ] || grep 'costs less' "$log" | sed 's/^/        /' || true
}

stage_demo()
{
    install_for build host demo quick || return 1
    build_preset package --target rtu_demo rtuhost || return 1
    step "demo" env MODBUS_DEMO_BUILD=build/package ./demo
    tail -n 1 "$log_folder/demo-demo.log"
}

stage_style()
{
    install_for build host demo test quick clang style || return 1
    step "clang-format" scripts/format --check
    build_preset tidy --target modbus_version_header || return 1
    step "clang-tidy" tidy_sources
}

# Most of the time goes into headers: sources are looked at several in one, which clang's
# analyzer follows into the sources when the folder has this name. Warnings are errors:
# xargs fails when one of its commands did.
unified_sources=build/tidy/UnifiedSources
tidy_sources()
{
    sed -n 's/.*"file": "\(.*unity_.*\)".*/\1/p' "$unified_sources/compile_commands.json" | grep -vE "/bench/|/minimal_host\.dir/" \
        | xargs -P "$jobs" -n 1 clang-tidy -p "$unified_sources" --quiet --checks=-bugprone-suspicious-include
}

stage_coverage()
{
    step "coverage" scripts/coverage
    cat "$log_folder/coverage-coverage.log"
}
