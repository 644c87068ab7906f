# The stages of other machines: cross-built against Debian's packages, run under
# an emulator. Read by ./check.

machines=(armhf arm64 armel s390x i386)
packaged_machines=(armhf arm64)

declare -A machine_purpose=(
    [armhf]="32-bit ARM, hard float"
    [arm64]="64-bit ARM"
    [armel]="32-bit ARM, soft float"
    [s390x]="big-endian, 64 bits"
    [i386]="32-bit PC"
)
for machine in "${machines[@]}"; do
    stage_purpose[machine-$machine]="Qt 5, $machine (${machine_purpose[$machine]}), cross-built: its tests under emulation"
done
for machine in "${packaged_machines[@]}"; do
    stage_purpose[machine-$machine]+=", packages"
done

# Random tests take a tenth of their steps here: an emulator is that much slower.
emulated_environment=(MODBUS_STEPS=9000 QTEST_FUNCTION_TIMEOUT=600000)

# Programs that do not end under the emulator of a machine. The driver's lock hands the
# priority of who waits to who holds it, and the kernel, to which the emulator passes that
# on, reads the holder's number in its own byte order: no such thread, says it, and the C
# library lets the one who waits wait for good. A program of a dozen lines shows the same.
declare -A not_emulated=([s390x]=concurrency_tests)

# Tests that cannot pass under the emulator of a machine. A program of i386 that gets signals
# while it waits in ppoll() ends in std::terminate() there; run by the PC itself it passes.
declare -A lost_tests=([i386]=WakeUp.WaitsOnAfterASignal)

is_packaged()
{
    [[ " ${packaged_machines[*]} " == *" $1 "* ]]
}

# machine_root MACHINE: the folder to build against. A status of 3: it cannot be had here.
machine_root()
{
    local log=$log_folder/root-$1.log status=0
    announce "root of $1"
    scripts/make-machine-root "$1" "$PWD/build/roots/$1" >"$log" 2>&1 || status=$?
    case $status in
        0) outcome ok ;;
        3) outcome skipped; skip "$(tail -n 1 "$log")" ;;
        *) outcome "FAIL (log: $log)"; show_failure "$log"; count 0 1 0 ;;
    esac
    return "$status"
}

# run_program_tests MACHINE: the test programs that can run under emulation, their tests counted.
run_program_tests()
{
    local folder=build/$1 log="$log_folder/$stage-ctest.log" status=0 tests failed skipped left_out=()
    if [ -n "${not_emulated[$1]:-}" ]; then
        left_out=(-E "^${not_emulated[$1]}\$")
        echo "  left out: ${not_emulated[$1]}"
        count 0 0 1
    fi
    if [ -n "${lost_tests[$1]:-}" ]; then
        echo "  left out: ${lost_tests[$1]}"
        count 0 0 1
    fi
    rm -rf "$folder/reports"
    announce tests
    env "${emulated_environment[@]}" GTEST_FILTER="-${lost_tests[$1]:-}" ctest --test-dir "$folder" -j "$jobs" \
        --output-on-failure --no-tests=error -LE "native|$tools_label" "${left_out[@]}" >"$log" 2>&1 || status=$?
    tests=$(report_sum "$folder" tests)
    failed=$(report_sum "$folder" failures)
    skipped=$(($(report_sum "$folder" disabled) + $(cat "$folder"/reports/*.xml | grep -c 'result="skipped"')))
    # A program that ended early left no report.
    [ "$status" -eq 0 ] || [ "$failed" -gt 0 ] || failed=1
    count $((tests - failed - skipped)) "$failed" "$skipped"
    outcome "$((tests - failed - skipped)) of $tests passed"
    [ "$status" -eq 0 ] || show_failure "$log"
    return "$status"
}

# report_sum BUILD_FOLDER ATTRIBUTE: over the first lines of all reports.
report_sum()
{
    local report sum=0
    for report in "$1"/reports/*.xml; do
        [ ! -s "$report" ] || sum=$((sum + $(sed -n "s/^<testsuites.* $2=\"\([0-9]*\)\".*/\1/p" "$report")))
    done
    echo "$sum"
}

check_machine()
{
    local machine=$1 status=0
    install_for build host "$machine" || return 1
    machine_root "$machine" || status=$?
    [ "$status" -ne 3 ] || return 0
    [ "$status" -eq 0 ] || return 1
    build_preset "$machine" || return 1
    run_program_tests "$machine"
    ! is_packaged "$machine" || check_machine_packages "$machine"
}

stage_machine-armhf() { check_machine armhf; }
stage_machine-arm64() { check_machine arm64; }
stage_machine-armel() { check_machine armel; }
stage_machine-s390x() { check_machine s390x; }
stage_machine-i386() { check_machine i386; }

# --- packages: as for this machine, as far as a foreign one allows ------------------

# Names of the packages that a package depends on, in order.
dependency_names()
{
    dpkg-deb -f "$1" Depends | tr ',' '\n' | sed 's/(.*)//; s/[[:space:]]//g' | sort
}

# The dependencies of foreign packages are written down, not looked up; they are
# the same packages as on this machine, which has one more: the QML module.
same_dependencies()
{
    local package name
    for package in build/"$1"/*.deb; do
        name=$(dpkg-deb -f "$package" Package)
        diff <(dependency_names build/package/"$name"_*.deb) <(dependency_names "$package") || return 1
    done
}

# run_packaged_host MACHINE: the driver and the host from the packages, under emulation.
run_packaged_host()
{
    local root=build/$1-packages package output emulator
    emulator=$(sed -n 's/^set(MODBUS_EMULATOR \(.*\))/\1/p' "cmake/toolchains/$1.cmake")
    rm -rf "$root"
    for package in build/"$1"/*.deb; do
        dpkg-deb -x "$package" "$root"
    done
    "$emulator" -L "build/roots/$1" "$root/usr/bin/rtuhost" -V || return 1
    output=$("$emulator" -L "build/roots/$1" "$root/usr/bin/rtuhost" -1 \
        --driver "$(dirname "$(find "$root" -name 'libmodbus_rtu_master.so.1')")" \
        --sim "$root/usr/share/rtuhost/demo/plant.sim" 4x101)
    echo "$output"
    grep -qw 500 <<<"$output"
}

check_machine_packages()
{
    install_for package || return 1
    step "packages" make_packages "build/$1" || return 1
    step "lintian" lint_packages "build/$1"
    step "packaged host runs" run_packaged_host "$1"
    if compgen -G 'build/package/*.deb' >/dev/null; then
        step "dependencies" same_dependencies "$1"
    fi
}
