#!/bin/sh
# The first configuration of an agent as a plain shell script does it. It changes files as scripts do: in place, without
# a flush, and without a look at what stands there.
#
#   configure.sh DIR XML ENVIRONMENT
#
# DIR has the agent's package, XML the settings, and ENVIRONMENT is the template of the environment script.
set -eu
export LC_ALL=POSIX
dir=$1
xml=$2
environment=$3
conf=$dir/etc/client.conf

element() { sed -n "s,.*<$1>\(.*\)</$1>.*,\1,p" "$xml"; }
attribute() { sed -n "s/.*<Settings[^>]* $1=\"\([^\"]*\)\".*/\1/p" "$xml"; }
expand() { sed -e "s,%INSTDIR%,$dir,g" -e "s,%ETCDIR%,$dir/etc,g" "$@"; }

# set_key SECTION KEY VALUE
set_key() {
    awk -v section="[$1]" -v key="$2=" -v value="$3" '
        /^\[/ { inside = $0 == section }
        inside && index($0, key) == 1 { $0 = key value }
        { print }' "$conf" >"$conf.new"
    mv "$conf.new" "$conf"
}

look_at_the_host() {
    # shellcheck disable=SC2009 # pgrep is not on every host
    if ps -e | grep qdn-plug >/dev/null; then echo "An agent runs." >&2 && exit 1; fi
    [ ! -e /usr/bin/vmware ] || [ -z "$(/usr/bin/vmware -v 2>/dev/null | sed -e 's, [0-9].*,,')" ]
    uname -p >/dev/null
}

write_client_conf() {
    expand "$dir/etc/client.proto" >"$conf"
    chmod 644 "$conf"
    while IFS='|' read -r section key value; do set_key "$section" "$key" "$value"; done <<END
Kell Servers|server-1|$(element KSName)
Configuration|installdir|$dir
Configuration|bindir|/usr/bin
Configuration|tmpdir|/tmp
Configuration|guid_guid_file|$dir/etc/host.GUID
Configuration|event_queue_dir|$dir/var/queue
Configuration|task_storage_path|$dir/var/tasks
Configuration|package_storage_path|$dir/var/packages
Configuration|swd_storage_path|$dir/var/swd
Configuration|debug_output|$dir/var/qdn-client.log
Configuration|debug_file_size|256
Configuration|debug_level|Error
Configuration|syslog_level|None
Configuration|runlevels_start|$starts
Configuration|runlevels_stop|$stops
Client Transport|ks_url_format|http://%server%/Zorvane/
END
    for store in '' /queue /tasks /packages /swd; do mkdir "$dir/var$store"; done
}

write_environment() {
    expand "$environment" >"$dir/bin/qdn-env"
    chmod 755 "$dir/bin/qdn-env"
}

register_service() {
    expand -e "s/^\(# Default-Start:\).*/\1 $starts/" -e "s/^\(# Default-Stop:\).*/\1 $stops/" \
        -e "s/^\(# chkconfig:\) [0-9]*/\1 $(echo "$starts" | tr -d ' ')/" \
        "$dir/etc/rcscript.proto.linux" >/etc/init.d/zorvane
    chmod 544 /etc/init.d/zorvane
    for level in $starts; do ln -s ../init.d/zorvane "/etc/rc$level.d/S99zorvane"; done
    for level in $stops; do ln -s ../init.d/zorvane "/etc/rc$level.d/K01zorvane"; done
    ln -s /etc/init.d/zorvane "$dir/bin/rcscript"
}

link_programs() {
    for path in "$dir"/bin/qdn-*.bin; do
        program=$(basename "$path" .bin)
        case $program in qdn-diagnose | qdn-pluginmanager) continue ;; esac
        cat >"$dir/bin/$program" <<END
#!/bin/sh
# Runs a program in its environment. Made by the installation: changes are lost.
. '$dir/bin/qdn-env'
exec '$path' "\$@"
END
        ln -s "$dir/bin/$program" "/usr/bin/$program"
    done
}

set_permissions() {
    for file in "$dir"/bin/qdn-* "$dir"/lib/*; do chown root:root "$file" && chmod 555 "$file"; done
    for file in "$dir"/etc/*; do chown root:root "$file" && chmod 444 "$file"; done
    for program in qdn-configure qdn-configure.bin qdn-uninstall qdn-pluginmanager.bin; do chmod 544 "$dir/bin/$program"; done
    chmod 644 "$conf"
}

starts=$(attribute RunLevel | tr -dc '0-9;' | tr ';' ' ')
stops=
for level in 0 1 2 3 4 5 6; do
    case " $starts " in *" $level "*) ;; *) stops="${stops:+$stops }$level" ;; esac
done
look_at_the_host
write_client_conf
write_environment
register_service
link_programs
set_permissions
