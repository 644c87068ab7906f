# The stages around installing: a host built outside the tree, and the Debian
# packages. Read by ./check.

consumer_folder=build/consumer

# Everything of the package build, installed into a folder.
install_to_prefix()
{
    rm -rf "$consumer_folder"
    cmake --install build/package --prefix "$PWD/$consumer_folder/prefix"
}

installed_pkg_config()
{
    local folder
    folder=$(dirname "$(find "$consumer_folder/prefix" -name modbus_rtu_master.pc)")
    PKG_CONFIG_PATH=$folder pkg-config "$@" modbus_rtu_master
}

installed_example()
{
    find "$PWD/$consumer_folder/prefix" -type d -name examples
}

build_by_pkg_config()
{
    # Qt as distributions build it wants -fPIC of those who use it.
    # shellcheck disable=SC2046
    g++ -std=c++11 -Wall -Wextra -Werror -fPIC "$(installed_example)/minimal_host.cpp" \
        -o "$consumer_folder/by_pkg_config" $(installed_pkg_config --cflags --libs)
}

build_by_find_package()
{
    cmake -S "$(installed_example)" -B "$consumer_folder/find_package" \
        -DCMAKE_PREFIX_PATH="$PWD/$consumer_folder/prefix" || return 1
    cmake --build "$consumer_folder/find_package"
}

# poll_simulated_slave HOST: HOST polls a register that holds 1234.
poll_simulated_slave()
{
    local work slave status=0 output
    work=$(mktemp -d)
    printf 'station 1\n4x 1 = 1234\n' >"$work/slave.sim"
    "$consumer_folder/prefix/bin/rtuhost" --serve "$work/slave.sim" "pty:$work/line" &
    slave=$!
    for _ in $(seq 100); do
        [ ! -e "$work/line" ] || break
        sleep 0.1
    done
    output=$("$1" "$(installed_pkg_config --variable=library)" "$work/line" 3) || status=$?
    kill "$slave"
    wait "$slave" || true
    rm -rf "$work"
    echo "$output"
    [ "$status" -eq 0 ] && [ "$output" = "station 1 4x1 = 1234" ]
}

# make_packages BUILD_FOLDER
make_packages()
{
    rm -f "$1"/*.deb
    (cd "$1" && cpack -G DEB) && ls "$1"/*.deb
}

lint_packages()
{
    lintian --fail-on error --allow-root "$1"/*.deb
}

# Installs library and host with apt in a Debian made for it, with nothing else
# in it, and runs both programs there.
try_packages_in_clean_system()
{
    local suite uri mode=unshare
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    read -r uri _ < <(scripts/own-package-source)
    [ "$(id -u)" = 0 ] && mode=root
    mmdebstrap --mode="$mode" --variant=minbase --format=null --aptopt='APT::Install-Recommends "false"' \
        --customize-hook="copy-in $(ls build/package/*.deb | grep -v -e -dev_ | tr '\n' ' ') /tmp" \
        --customize-hook='chroot "$1" sh -c "apt-get install -y /tmp/*.deb"' \
        --customize-hook='chroot "$1" rtuhost -V' \
        --customize-hook='chroot "$1" rtuhost -1 --sim /usr/share/rtuhost/demo/plant.sim 4x101 | grep -w 500' \
        --customize-hook='chroot "$1" rtu_demo /usr/share/rtuhost/demo' \
        --customize-hook='chroot "$1" apt-get purge -y libmodbus-rtu-master1 libmodbus-rtu-master-check1 rtuhost' \
        --customize-hook='left=$(find "$1/usr" "$1/etc" -iname "*modbus?rtu*" -o -name "rtuhost*" -o -name rtu_demo); \
            echo "left behind: $left"; [ -z "$left" ]' \
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
    find "$root" -type f \( -path '*/bin/*' -o -name '*.so.*' \) -print0 | xargs -0 hardening-check --nocfprotection --nofortify
}

# The packages once more: in another folder, by another user where that can be,
# later, with another time zone, locale and file mode mask. They must be the same bytes.
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
                cmake --preset package && cmake --build --preset package -j "$1" && cd build/package && cpack -G DEB
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
    step "host by pkg-config" build_by_pkg_config
    step "host by find_package" build_by_find_package
    step "that host polls" poll_simulated_slave "$consumer_folder/by_pkg_config"
    step "the other polls" poll_simulated_slave "$consumer_folder/find_package/minimal_host"
    step "packages" make_packages build/package || return 1
    step "lintian" lint_packages build/package
    step "hardened" packages_are_hardened
    step "the same bytes when built elsewhere" packages_are_reproducible
    step "dev package is installable" dev_package_is_installable
    if ! scripts/own-package-source >/dev/null; then
        skip "installing in a clean system: the package source of this machine cannot be reached"
        return 0
    fi
    step "installs and runs in a clean system" try_packages_in_clean_system
}
