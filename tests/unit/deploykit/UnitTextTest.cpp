// Units made from the headers of service scripts.
#include <gtest/gtest.h>

#include "deploykit/SystemdUnit.h"
#include "tests/support/PrintString.h"

using corekit::String;
using deploykit::SystemdUnit::UnitText;

namespace {

TEST(UnitText, HasTheFactsOfTheHeader) {
    EXPECT_EQ(UnitText(L"agent",
                       L"#!/bin/sh\n"
                       L"# pidfile: /opt/a b/var/agent.pid\n"
                       L"### BEGIN INIT INFO\n"
                       L"# Required-Start: $local_fs\t$remote_fs $network\n"
                       L"# Should-Start: $syslog $time\n"
                       L"# Short-Description: The agent\n"
                       L"### END INIT INFO\n",
                       {L"multi-user.target", L"graphical.target"}),
              L"# Runs the service script; made and removed with it. Changes belong into a drop-in file.\n"
              L"[Unit]\n"
              L"Description=The agent\n"
              L"SourcePath=/etc/init.d/agent\n"
              L"Wants=network-online.target\n"
              L"After=remote-fs.target network-online.target time-sync.target\n"
              L"\n"
              L"[Service]\n"
              L"Type=forking\n"
              L"PIDFile=/opt/a b/var/agent.pid\n"
              L"Environment=SERVICE_SCRIPT_CALLER=systemd\n"
              L"ExecStart=/etc/init.d/agent start\n"
              L"ExecStop=/etc/init.d/agent stop\n"
              L"KillMode=process\n"
              L"IgnoreSIGPIPE=no\n"
              L"TimeoutSec=5min\n"
              L"\n"
              L"[Install]\n"
              L"WantedBy=multi-user.target graphical.target\n");
}

TEST(UnitText, DoesWithoutAHeader) {
    EXPECT_EQ(UnitText(L"agent", L"#!/bin/sh\n", {}),
              L"# Runs the service script; made and removed with it. Changes belong into a drop-in file.\n"
              L"[Unit]\n"
              L"Description=agent\n"
              L"SourcePath=/etc/init.d/agent\n"
              L"\n"
              L"[Service]\n"
              L"Type=forking\n"
              L"GuessMainPID=no\n"
              L"RemainAfterExit=yes\n"
              L"Environment=SERVICE_SCRIPT_CALLER=systemd\n"
              L"ExecStart=/etc/init.d/agent start\n"
              L"ExecStop=/etc/init.d/agent stop\n"
              L"KillMode=process\n"
              L"IgnoreSIGPIPE=no\n"
              L"TimeoutSec=5min\n"
              L"\n"
              L"[Install]\n"
              L"WantedBy=multi-user.target\n");
}

TEST(UnitText, KeepsPercentSignsFromBeingSpecifiers) {
    const String unit = UnitText(L"agent", L"# pidfile: /opt/%n\n# Short-Description: 100% up\n", {});
    EXPECT_TRUE(unit.Contains(L"\nPIDFile=/opt/%%n\n"));
    EXPECT_TRUE(unit.Contains(L"\nDescription=100%% up\n"));
}

TEST(UnitText, KnowsTheFacilitiesOfBothSpellings) {
    struct Case {
        const wchar_t* header;
        const wchar_t* lines;
    };
    const Case cases[] = {
        {L"# Required-Start: $remote_fs\n", L"After=remote-fs.target\n"},
        {L"# Required-Start: $network\n", L"Wants=network-online.target\nAfter=network-online.target\n"},
        {L"# Should-Start: $named\n", L"After=nss-lookup.target\n"},
        {L"# Should-Start: $portmap\n", L"After=rpcbind.target\n"},
        {L"# X-UnitedLinux-Should-Start: $time\n", L"After=time-sync.target\n"},
        {L"# Required-Start: $syslog $local_fs dbus\n", L""},
        {L"# Required-Start: $networking\n", L""},
        {L"# Required-Stop: $network\n", L""},
    };
    for (const Case& c : cases) {
        const String expected = String(L"SourcePath=/etc/init.d/a\n") + c.lines + L"\n[Service]\n";
        EXPECT_TRUE(UnitText(L"a", c.header, {}).Contains(expected)) << String(c.header).Utf8();
    }
}

}  // namespace
