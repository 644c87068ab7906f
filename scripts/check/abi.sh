# The stage that compares the binary interface with its baseline. Read by ./check.

built_library=build/release/lib/libmodbus_rtu_master.so.1

stage_abi()
{
    install_for build host demo test abi || return 1
    build_preset release --target modbus_rtu_master || return 1
    step "interface is that of the baseline" scripts/abi-check "$built_library"
}
