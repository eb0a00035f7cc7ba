# Installations of older agents as they are found on hosts: configuration, data, programs, links and registrations.
# Loaded by the stories of upgrading and cleaning.

# given_an_old_agent VERSION [DIR]: 5.6, 6.0, 6.0SP1, 6.0SP2, 6.1 or 6.2, by default where agents usually are.
given_an_old_agent() {
    local version=$1 dir=${2:-$agent}
    guid="{0A1B2C3D-0000-1111-2222-333344445555}"
    package="{11111111-2222-3333-4444-555555555555}"
    mkdir -p "$dir"/{bin,etc,lib,var/{queue,tasks}}
    case $version in
        5.6) old_conf_56 "$dir" ;;
        6.0) old_conf_6x "$dir" 6 0 150 ;;
        6.0SP1) old_conf_6x "$dir" 6 0 250 ;;
        6.0SP2) old_conf_6x "$dir" 6 0 350 ;;
        6.1) old_conf_6x "$dir" 6 1 500 ;;
        6.2) old_conf_6x "$dir" 6 2 1000 ;;
        *) fail "no old agent $version" ;;
    esac
    echo "event one" >"$dir/var/queue/one.kse"
    echo "task one" >"$dir/var/tasks/one.kst"
    echo "log" >"$dir/var/qdn-client.log"
    [ "$version" != 6.2 ] || echo "rotated" >"$dir/var/qdn-client.log.1"
    case $version in
        5.6) old_system_56 "$dir" ;;
        *) old_stores_6x "$dir"; old_system_6x "$version" "$dir" ;;
    esac
}

old_conf_6x() {
    local dir=$1
    cat >"$dir/etc/client.conf" <<END
# Configuration of the agent
[Version]
agent_major=$2
agent_minor=$3
agent_build=$4

[Kell Servers]
server-1=old.example:8083

[Configuration]
installdir=$dir
bindir=/usr/bin
var=$dir/var
tmpdir=/var/tmp
event_queue_dir=$dir/var/queue
event_file_extension=.kse
task_storage_path=$dir/var/tasks
package_storage_path=$dir/var/packages
swd_storage_path=$dir/var/swd
guid_guid_file=$dir/etc/host.GUID
debug_output=$dir/var/qdn-client.log
debug_file_size=777
debug_level=warning
syslog_level=error
runlevels_start=3 5
basicinv_use_resolv_conf=0
package_retry_delay=61
sub_agent_names=inventory;monitor
sub_agent_versions=1.0;2.0
sub_agent_build_nums=10;20
sub_agent_paths=$dir/inventory;$dir/monitor
agent_roles=webserver

[Client Transport]
ks_url_format=https://%server%/Zorvane/
ssl_verify_peer=yes
ssl_ca_info=/etc/ssl/zorvane.pem

[Event Queue]
level1-retries=5
level2-retrys=7

[Client Details]
SerialNumber=SN = 12  34
Location=Z$(printf '\374')rich

[Class Servers]
zorvane.qdnntracker=Tracker
inventory.server=Inventory

[Inventory]
library=libinventory.so

[Static Agents]
zorvane.qdnntracker=yes
inventory.agent=no
END
    printf '%s\nnull' "$guid" >"$dir/etc/host.GUID"
}

old_stores_6x() {
    local dir=$1
    mkdir -p "$dir/var/packages/$package" "$dir/var/swd"
    echo "payload" >"$dir/var/packages/$package/file"
    cat >"$dir/var/packages/$package.qdn-pkg-info" <<END
a line that is no entry
[PackageInfo]
PackageName=Office & tools
pkg_total_size=4711
codebases=http://one/;http://two/
pkg_current_size=4711
pkg_status=complete
END
    echo "<Package><InternalVersion>1.2</InternalVersion></Package>" >"$dir/var/packages/$package.qdn-pkg-xml"
    echo "snapshot" >"$dir/var/packages/$package.qdn-pkg-snapshot"
}

# What an agent of 6.0 and 6.0 SP1 had in /usr/bin were links; later ones have wrappers and links to them.
old_system_6x() {
    local version=$1 dir=$2 program
    for program in qdn-monitor qdn-clientevent qdn-configure; do
        printf '#!/bin/sh\n' >"$dir/bin/$program.bin"
        printf '#!/bin/sh\n' >"$dir/bin/$program"
        chmod 755 "$dir/bin/$program.bin" "$dir/bin/$program"
        ln -sf "$dir/bin/$program" "/usr/bin/$program"
    done
    printf '#!/bin/sh\n' >"$dir/bin/qdn-env"
    old_service
}

old_service() {
    printf '#!/bin/sh\n' >/etc/init.d/zorvane
    chmod 755 /etc/init.d/zorvane
    ln -s ../init.d/zorvane /etc/rc3.d/S99zorvane
    ln -s ../init.d/zorvane /etc/rc0.d/K01zorvane
}

old_conf_56() {
    local dir=$1
    cat >"$dir/etc/client.conf" <<END
[Configuration]
installdir = $dir
bindir = /usr/bin
libdir = $dir/lib
var = $dir/var
tmpdir = /var/tmp
event_queue_dir = $dir/var/queue
task_storage_path = $dir/var/tasks
guid_guid_file = $dir/etc/host.GUID
debug_output = $dir/var/qdn-client.log
debug_file_size = 777
debug_level = warning
transport_timeout = 99
basicinv_ip_error_return_value = none found

[Kell Servers]
server-1 = old.example

[Event Queue]
level1-retrys = 7

[Client Details]
SerialNumber = SN = 12  34
Location = Z$(printf '\374')rich
END
    printf '%s\n' "$guid" >"$dir/etc/host.GUID"
}

old_system_56() {
    local dir=$1
    touch /usr/bin/qdn-clientevent /usr/bin/qdn-collector "$dir"/bin/{qdn-objectmanager,runit.sh,whose}
    touch "$dir/lib/libomniORB.so" "$dir/lib/libzorvane.so.1" "$dir/var/old.example.xml"
    printf 'LD_LIBRARY_PATH=%s/lib:$LD_LIBRARY_PATH\n' "$dir" >"$dir/bin/qdn-env"
    printf 'ssh 22/tcp\nqdnm 402/tcp # QDN agent\nhttp 80/tcp\n' >/etc/services
    printf 'ftp stream tcp\n# Zorvane agent\nqdnmsg stream tcp\n' >/etc/inetd.conf
    rm -f /etc/xinetd.conf
    old_service
}
