# The first configuration of an agent as Puppet does it. The settings are the manifest's own.
$dir = '/opt/zorvane/kell/ksagent'
$programs = ['configure', 'uninstall', 'clientconfigupdate', 'clientevent', 'clienttransport', 'messagelistener',
  'objectmanager', 'policymanager', 'swdclientagent', 'taskscheduler', 'monitor']
$starts = ['3', '5']
$stops = ['0', '1', '2', '4', '6']

function expanded(String $template) >> String {
  regsubst(regsubst(file($template), '%INSTDIR%', $::dir, 'G'), '%ETCDIR%', "${::dir}/etc", 'G')
}

# [what a line begins with, what it becomes], one after the other
function with_lines(String $text, Array $lines) >> String {
  $lines.reduce($text) |$result, $line| { regsubst($result, "^${line[0]}.*$", "${line[0]}${line[1]}") }
}

File { owner => 'root', group => 'root' }

file { "${dir}/etc/client.conf":
  mode    => '0644',
  content => with_lines(expanded("${dir}/etc/client.proto"), [
    ['server-1=', 'kell.example'], ['debug_file_size=', '256'], ['debug_level=', 'Error'], ['syslog_level=', 'None'],
    ['runlevels_start=', $starts.join(' ')], ['runlevels_stop=', $stops.join(' ')]]),
}
file { "${dir}/bin/qdn-env": mode => '0555', content => expanded($facts['environment_template']) }
file { '/etc/init.d/zorvane':
  mode    => '0544',
  content => with_lines(expanded("${dir}/etc/rcscript.proto.linux"), [
    ['# Default-Start:', " ${starts.join(' ')}"], ['# Default-Stop:', " ${stops.join(' ')}"],
    ['# chkconfig:', " ${starts.join()} 90 10"]]),
}
file { "${dir}/bin/rcscript": ensure => link, target => '/etc/init.d/zorvane' }
$starts.each |$level| { file { "/etc/rc${level}.d/S99zorvane": ensure => link, target => '../init.d/zorvane' } }
$stops.each |$level| { file { "/etc/rc${level}.d/K01zorvane": ensure => link, target => '../init.d/zorvane' } }
['', '/queue', '/tasks', '/packages', '/swd'].each |$store| { file { "${dir}/var${store}": ensure => directory, mode => '0755' } }

$programs.each |$program| {
  $path = "${dir}/bin/qdn-${program}"
  file { $path:
    mode    => if $program in ['configure', 'uninstall'] { '0544' } else { '0555' },
    content => "#!/bin/sh
# Runs a program in its environment. Made by the installation: changes are lost.
. '${dir}/bin/qdn-env'
exec '${path}.bin' \"\$@\"
",
  }
  file { "/usr/bin/qdn-${program}": ensure => link, target => $path }
}
($programs - ['configure'] + ['diagnose']).each |$program| { file { "${dir}/bin/qdn-${program}.bin": mode => '0555' } }
['configure', 'pluginmanager'].each |$program| { file { "${dir}/bin/qdn-${program}.bin": mode => '0544' } }
['client.proto', 'rcscript.proto.linux', 'rcscript.proto.suse', 'rcscript.proto.unix'].each |$name| {
  file { "${dir}/etc/${name}": mode => '0444' }
}
file { "${dir}/lib/service-functions": mode => '0555' }
