# The stage that compares the binary interfaces with their baselines. Read by ./check.

built_library=build/release/lib/libmodbus_rtu_master.so.1
built_kit=build/release/lib/libmodbus_rtu_host.so.1

stage_abi()
{
    install_for build host demo test abi || return 1
    build_preset release --target modbus_rtu_master modbus_rtu_host || return 1
    step "interface is that of the baseline" scripts/abi-check "$built_library"
    step "interface of the kit is that of the baseline" scripts/abi-check "$built_kit"
}
