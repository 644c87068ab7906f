# The stages around installing: a host built outside the tree, and the Debian
# packages. Read by ./check.

consumer_folder=build/consumer

# Everything of the package build, installed into a folder.
install_to_prefix()
{
    rm -rf "$consumer_folder"
    cmake --install build/package --prefix "$PWD/$consumer_folder/prefix"
}

# installed_pkg_config NAME OPTION...
installed_pkg_config()
{
    local folder
    folder=$(dirname "$(find "$consumer_folder/prefix" -name "$1.pc")")
    PKG_CONFIG_PATH=$folder pkg-config "${@:2}" "$1"
}

installed_example()
{
    find "$PWD/$consumer_folder/prefix" -type d -name examples
}

# build_by_pkg_config EXAMPLE PACKAGE: an example of the guide, with what pkg-config says of PACKAGE.
build_by_pkg_config()
{
    mkdir -p "$consumer_folder/pkg_config"
    # Qt as distributions build it wants -fPIC of those who use it.
    # shellcheck disable=SC2046
    g++ -std=c++11 -Wall -Wextra -Werror -fPIC "$(installed_example)/$1.cpp" \
        -o "$consumer_folder/pkg_config/$1" $(installed_pkg_config "$2" --cflags --libs)
}

build_by_find_package()
{
    cmake -S "$(installed_example)" -B "$consumer_folder/find_package" \
        -DCMAKE_PREFIX_PATH="$PWD/$consumer_folder/prefix" || return 1
    cmake --build "$consumer_folder/find_package"
}

# serve_slave FOLDER NAME DESCRIPTION: simulates a slave on the line FOLDER/NAME until it is killed. Adds to served.
serve_slave()
{
    echo "$3" >"$1/$2.sim"
    "$consumer_folder/prefix/bin/rtuhost" --serve "$1/$2.sim" "pty:$1/$2" &
    served+=($!)
    for _ in $(seq 100); do
        [ ! -e "$1/$2" ] || break
        sleep 0.1
    done
}

# hear_host EXPECTED FOLDER COMMAND...: what COMMAND prints while the slaves of FOLDER are there has a
# line EXPECTED; after it they are gone.
hear_host()
{
    local expected=$1 folder=$2 status=0 output
    shift 2
    output=$(LD_LIBRARY_PATH=$(dirname "$(find "$PWD/$consumer_folder/prefix" -name 'libmodbus_rtu_host.so.1')") "$@") || status=$?
    kill "${served[@]}"
    wait "${served[@]}" || true
    rm -rf "$folder"
    echo "$output"
    [ "$status" -eq 0 ] && grep -qxF "$expected" <<<"$output"
}

# poll_simulated_slave HOST: HOST polls a register that holds 1234.
poll_simulated_slave()
{
    local work served=()
    work=$(mktemp -d)
    serve_slave "$work" line $'station 1\n4x 1 = 1234'
    hear_host "station 1 4x1 = 1234" "$work" \
        "$1" "$(installed_pkg_config modbus_rtu_master --variable=library)" "$work/line" 3
}

# poll_two_lines LIBRARY HOST: the guide's host on the kit, which writes a setpoint and saves it as a recipe.
# LIBRARY is the name of the library to load: the driver, or the checker, which aborts at the first finding.
poll_two_lines()
{
    local work library served=()
    library=$(find "$PWD/$consumer_folder/prefix" -name "$1.so.1")
    work=$(mktemp -d)
    serve_slave "$work" boiler $'station 1\n4x 100 = 7'
    serve_slave "$work" meters $'station 3\n3x 1 = 1'
    hear_host "recipe: 21.5" "$work" env MODBUS_RTU_CHECK_ABORT=hint "$2" "$work/boiler" "$work/meters" "$library"
}

# The QML module, where it was installed, and the driver beside it.
show_screen()
{
    local module screen=$consumer_folder/screen
    module=$(find "$PWD/$consumer_folder/prefix" -name ModbusRtu)
    mkdir -p "$screen"
    cp scripts/check/screen.qml host/demo/plant.sim "$screen"
    LD_LIBRARY_PATH=$(dirname "$(find "$PWD/$consumer_folder/prefix" -name 'libmodbus_rtu_master.so.1')") \
        QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software \
        timeout 60 /usr/lib/qt5/bin/qmlscene -I "$(dirname "$module")" "$screen/screen.qml"
}

# make_packages BUILD_FOLDER
make_packages()
{
    rm -f "$1"/*.deb
    (umask 022 && cd "$1" && cpack -G DEB) && ls "$1"/*.deb
}

lint_packages()
{
    lintian --fail-on warning --allow-root "$1"/*.deb
}

# The packages, in a Debian made for them.
try_packages_in_clean_system()
{
    local suite uri mode=unshare
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    read -r uri _ < <(scripts/own-package-source)
    [ "$(id -u)" = 0 ] && mode=root
    mmdebstrap --mode="$mode" --variant=minbase --format=null --aptopt='APT::Install-Recommends "false"' \
        --customize-hook='mkdir "$1/packages"' \
        --customize-hook="copy-in $(echo build/package/*.deb) scripts/check/clean-system scripts/check/screen.qml /packages" \
        --customize-hook='chroot "$1" /packages/clean-system' \
        "$suite" - "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri $suite main"
}

# Every library and program of the packages, as Debian hardens its own. Nothing that
# the driver calls can be fortified: its copies have lengths known at run time only.
packages_are_hardened()
{
    local root=build/package-files package
    rm -rf "$root"
    for package in build/package/*.deb; do
        dpkg-deb -x "$package" "$root"
    done
    find "$root" -type f \( -path '*/bin/*' -o -name '*.so*' \) -print0 | xargs -0 hardening-check --nocfprotection --nofortify
}

# The packages once more: in another folder, by another user where that can be,
# later, with another time zone and locale, and built with another file mode mask. They
# must be the same bytes.
packages_are_reproducible()
{
    local work as_other=() status=0
    work=$(mktemp -d "${TMPDIR:-/tmp}/another folder.XXXXXX")
    git ls-files -z | xargs -0 cp --parents --target-directory="$work" || return 1
    cp -r .git "$work/.git" || return 1
    if [ "$(id -u)" = 0 ]; then
        chown -R nobody "$work"
        as_other=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
    fi
    (
        cd "$work"
        umask 077
        "${as_other[@]}" env -u SOURCE_DATE_EPOCH HOME="$work" LC_ALL=C TZ=Asia/Kolkata GIT_CONFIG_COUNT=1 \
            GIT_CONFIG_KEY_0=safe.directory GIT_CONFIG_VALUE_0='*' bash -c '
                cmake --preset package && cmake --build --preset package -j "$1" && cd build/package && umask 022 && cpack -G DEB
            ' build "$jobs"
    ) || status=1
    diff <(cd build/package && sha256sum ./*.deb) <(cd "$work/build/package" && sha256sum ./*.deb) || status=1
    rm -rf "$work"
    return "$status"
}

# apt must find everything that the -dev package needs.
dev_package_is_installable()
{
    apt-get install --simulate --no-install-recommends ./build/package/*.deb
}

stage_package()
{
    install_for build host demo package || return 1
    build_preset package || return 1
    step "install into a folder" install_to_prefix || return 1
    step "host by pkg-config" build_by_pkg_config minimal_host modbus_rtu_master
    step "kit host by pkg-config" build_by_pkg_config kit_host modbus_rtu_host
    step "hosts by find_package" build_by_find_package
    step "host by pkg-config polls" poll_simulated_slave "$consumer_folder/pkg_config/minimal_host"
    step "host by find_package polls" poll_simulated_slave "$consumer_folder/find_package/minimal_host"
    step "kit host by pkg-config polls" poll_two_lines libmodbus_rtu_master "$consumer_folder/pkg_config/kit_host"
    step "kit host by find_package, checked" poll_two_lines libmodbus_rtu_master_check "$consumer_folder/find_package/kit_host"
    step "screen on the installed module" show_screen
    step "packages" make_packages build/package || return 1
    step "lintian" lint_packages build/package
    step "hardened" packages_are_hardened
    step "the same bytes when built elsewhere" packages_are_reproducible
    step "dev package is installable" dev_package_is_installable
    if ! scripts/own-package-source >/dev/null; then
        skip "installing in a clean system: the package source of this machine cannot be reached"
        return 0
    fi
    step "installed, tried, removed in a clean system" try_packages_in_clean_system
}
