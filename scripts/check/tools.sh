# The stage that shows that the checks notice what they are there for. What it
# does proves nothing about the product: it counts only when it fails. Read by
# ./check.

# kit_change NAME SED_SCRIPT HEADER: compares the kit with HEADER changed.
kit_change()
{
    local headers=build/abi-changed/$1/modbus_rtu_host
    rm -rf "$headers"
    mkdir -p "$headers"
    cp kit/modbus_rtu_host/*.h "$headers"
    sed -i "$2" "$headers/$3"
    if cmp "kit/modbus_rtu_host/$3" "$headers/$3"; then
        echo "the script for '$1' changed nothing"
        return 2
    fi
    scripts/abi-check --headers "build/abi-changed/$1" "$built_kit"
}

# header_change NAME SED_SCRIPT HEADER: compares with HEADER changed.
header_change()
{
    local headers=build/abi-changed/$1
    rm -rf "$headers"
    mkdir -p "$headers"
    cp driver/modbus_rtu_records.h driver/modbus_rtu_interface.h "$headers"
    sed -i "$2" "$headers/$3"
    if [ -n "$2" ] && cmp "driver/$3" "$headers/$3"; then
        echo "the script for '$1' changed nothing"
        return 2
    fi
    scripts/abi-check --headers "$headers" "$built_library"
}

# library_change NAME VERSION_SCRIPT [linker option...]: compares a library with
# the built library's code, linked otherwise.
library_change()
{
    local library=build/abi-changed/$1.so names=$2 objects
    shift 2
    mkdir -p build/abi-changed
    mapfile -t objects < <(find build/release/CMakeFiles/driver_objects.dir -name '*.o')
    g++ -shared "${objects[@]}" -o "$library" -Wl,--as-needed -lQt5Core -Wl,-soname,libmodbus_rtu_master.so.1 \
        -Wl,--version-script="$names" "$@" || return 2
    scripts/abi-check "$library"
}

# notices COMMAND...: the change is made, and the comparison objects.
notices()
{
    local status=0
    "$@" || status=$?
    [ "$status" -eq 1 ]
}

notices_changes_of_headers()
{
    local records=modbus_rtu_records.h interface=modbus_rtu_interface.h
    # What the others make, with nothing changed: their reports are about the change alone.
    attempt "unchanged headers pass" header_change nothing '' "$records"
    attempt "notices a member moved in KEY_ADDRESS" notices header_change moved-key \
        '/^struct KEY_ADDRESS/,/^}/{/int hostOffset;/{h;d};/int station;/{G}}' "$records"
    attempt "notices a member moved in FRAME_PRO" notices header_change moved-frame \
        '/^struct FRAME_PRO/,/^}/{/int frameKind;/{h;d};/int dataLen;/{G}}' "$records"
    attempt "notices a member moved in VARIABLE" notices header_change moved-variable \
        '/^struct VARIABLE/,/^}/{/int startAddr;/{h;d};/int count;/{G}}' "$records"
    attempt "notices a member added to _RCP_VAR_PRO" notices header_change added-row-member \
        's/^\( *\)int extra;.*/&\n\1int more;/' "$records"
    attempt "notices a member added to _DATA_" notices header_change added-area-member \
        's/^\( *\)int writtenValue;.*/&\n\1int more;/' "$records"
    attempt "notices another array length" notices header_change array \
        's/ModbusRtuRecordBytes = 1024/ModbusRtuRecordBytes = 2048/' "$records"
    attempt "notices another parameter" notices header_change parameter \
        's/intf_addConditionRead(KEY_ADDRESS \*key, int userData)/intf_addConditionRead(KEY_ADDRESS *key, long long userData)/' \
        "$interface"
    attempt "notices another callback" notices header_change callback \
        's/(int linkId, int station, QString \*regType, int address)/(int linkId, QString *regType, int address)/' "$interface"
}

notices_changes_of_kit()
{
    attempt "notices a member added to WriteOptions" notices kit_change kit-member \
        's/^\( *\)bool readBack.*/&\n\1int more = 0;/' write_options.h
    attempt "notices a virtual function added to Line" notices kit_change kit-virtual \
        's/^\( *\)virtual bool ensureOpen.*/\1virtual void more();\n&/' line.h
    attempt "notices another value of a quality" notices kit_change kit-value 's/^\( *\)Unconfirmed,/\1More,\n&/' quality.h
}

notices_changes_of_library()
{
    local names=driver/modbus_rtu_master.map
    attempt "unchanged library passes" library_change nothing "$names"
    attempt "notices another SONAME" notices library_change soname "$names" -Wl,-soname,libmodbus_rtu_master.so.2
    attempt "notices a further library" notices library_change library "$names" -Wl,--no-as-needed -lm
    sed '/intf_multiCopy;/d' "$names" >build/abi-changed/missing.map
    attempt "notices a missing name" notices library_change missing build/abi-changed/missing.map
    attempt "notices symbol versions" notices library_change versions "$names" -Wl,--default-symver
}

# clang's analyzer looks into sources that are merged for it.
analyzer_notices()
{
    local folder=build/tools/UnifiedSources
    mkdir -p "$folder"
    printf '%s\n' 'int least(int *number, int other);' 'int least(int *number, int other)' '{' \
        '    if (!number)' '        other = 1;' '    return *number + other;' '}' >"$folder/null.cpp"
    echo '#include "null.cpp"' >"$folder/merged.cxx"
    clang-tidy --quiet --config-file=.clang-tidy --header-filter='.*' --checks=-bugprone-suspicious-include \
        "$folder/merged.cxx" -- -std=c++11 >"$folder/findings" 2>&1 || true
    grep clang-analyzer-core.NullDereference "$folder/findings"
}

# The soak without one of the host's precautions must see disagreements.
soak_notices()
{
    ctest --test-dir build/release -j "$jobs" --output-on-failure --no-tests=error -L "$tools_label"
}

stage_tools()
{
    install_for build host demo test abi clang style || return 1
    build_preset release --target modbus_rtu_master modbus_rtu_host soak || return 1
    notices_changes_of_headers
    notices_changes_of_kit
    notices_changes_of_library
    attempt "the analyzer notices a null pointer" analyzer_notices
    attempt "the soak notices what goes wrong" soak_notices
}
