// Service scripts as text: what becomes of a template, and what a header says.
#include <gtest/gtest.h>

#include "deploykit/ServiceScript.h"
#include "tests/support/PrintString.h"

using corekit::String;
using deploykit::ExpandServiceTemplate;
using deploykit::ServiceHeaderField;
using deploykit::ServiceLevels;
using deploykit::ServiceScriptPath;

namespace {

const ServiceLevels kLevels = {L"235", L"0146"};
const ServiceLevels kNone = {};

}  // namespace

TEST(ServiceScript, LiesWhereInitLooks) {
    EXPECT_EQ(ServiceScriptPath(L"agent"), L"/etc/init.d/agent");
}

TEST(ServiceScript, ReplacesBothMacrosEverywhere) {
    EXPECT_EQ(ExpandServiceTemplate(L"# pidfile: %INSTDIR%/p\nA=%ETCDIR%/a\nB=%INSTDIR%%INSTDIR%\n",
                                    L"/opt/z", kLevels),
              L"# pidfile: /opt/z/p\nA=/opt/z/etc/a\nB=/opt/z/opt/z\n");
}

TEST(ServiceScript, WritesTheLevelsIntoTheHeader) {
    struct Case {
        const wchar_t* line;
        const wchar_t* withLevels;
        const wchar_t* withNone;
    };
    const Case cases[] = {
        {L"# Default-Start: 3", L"# Default-Start: 2 3 5", L"# Default-Start:"},
        {L"# Default-Start:", L"# Default-Start: 2 3 5", L"# Default-Start:"},
        {L"#  Default-Start:\t3 4", L"# Default-Start: 2 3 5", L"# Default-Start:"},
        {L"# Default-Stop:   0 6", L"# Default-Stop: 0 1 4 6", L"# Default-Stop:"},
        {L"# chkconfig: 345 90 10", L"# chkconfig: 235 90 10", L"# chkconfig: - 90 10"},
        {L"#chkconfig:\t-\t20 80", L"# chkconfig: 235\t20 80", L"# chkconfig: -\t20 80"},
        {L"# chkconfig: 345", L"# chkconfig: 235", L"# chkconfig: -"},
        {L"# Default-Starts: 3", L"# Default-Starts: 3", L"# Default-Starts: 3"},
        {L"# See Default-Start: 3", L"# See Default-Start: 3", L"# See Default-Start: 3"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ExpandServiceTemplate(c.line, L"/", kLevels), c.withLevels) << String(c.line).Utf8();
        EXPECT_EQ(ExpandServiceTemplate(c.line, L"/", kNone), c.withNone) << String(c.line).Utf8();
    }
}

TEST(ServiceScript, LeavesCodeAlone) {
    EXPECT_EQ(
        ExpandServiceTemplate(L"#!/bin/sh\n\n# Default-Stop: 9\nrun\n# Default-Start: 9\n", L"/", kLevels),
        L"#!/bin/sh\n\n# Default-Stop: 0 1 4 6\nrun\n# Default-Start: 9\n");
}

TEST(ServiceScript, WritesTheLevelsIntoAHeaderThatFollowsCode) {
    const String script =
        L"#!/bin/sh\nPATH=/bin\n# chkconfig: 345 90 10\n"
        L"### BEGIN INIT INFO\n# Default-Start: 3\n# Default-Stop: 0\n### END INIT INFO\n"
        L"run\n# Default-Start: 9\n# Default-Stop: 9\n";
    EXPECT_EQ(ExpandServiceTemplate(script, L"/", kLevels),
              L"#!/bin/sh\nPATH=/bin\n# chkconfig: 235 90 10\n"
              L"### BEGIN INIT INFO\n# Default-Start: 2 3 5\n# Default-Stop: 0 1 4 6\n### END INIT INFO\n"
              L"run\n# Default-Start: 9\n# Default-Stop: 9\n");
}

TEST(ServiceScript, TakesFieldsOfTheLsbHeaderFromItsBlockOnly) {
    const String script =
        L"#!/bin/sh\n# Default-Start: 1\n# Provides: no\nA=b\n### BEGIN INIT INFO\n# Provides: yes\n"
        L"### END INIT INFO\n# Required-Start: no\n";
    EXPECT_EQ(ServiceHeaderField(script, L"Provides"), L"yes");
    EXPECT_EQ(ServiceHeaderField(script, L"Required-Start"), L"");
    EXPECT_EQ(ExpandServiceTemplate(script, L"/", kLevels), script);
}

TEST(ServiceScript, ReadsThePidFileWhereverItStands) {
    EXPECT_EQ(ServiceHeaderField(L"#!/bin/sh\nA=b\n# pidfile: /run/a.pid\n", L"pidfile"), L"/run/a.pid");
    EXPECT_EQ(ServiceHeaderField(L"#!/bin/sh\npidfile: /run/a.pid\n", L"pidfile"), L"");
}

TEST(ServiceScript, KeepsAMissingLastLineEndAndBlankLines) {
    EXPECT_EQ(ExpandServiceTemplate(L"\n\na\n\n\nb", L"/", kLevels), L"\n\na\n\n\nb");
}

TEST(ServiceScript, ReadsFieldsOfTheHeaderOnly) {
    const String script =
        L"#!/bin/sh\n#pidfile: /run/a b.pid \n\n# Provides: a\n# Provides: b\nrun\n# Late: x\n";
    EXPECT_EQ(ServiceHeaderField(script, L"pidfile"), L"/run/a b.pid");
    EXPECT_EQ(ServiceHeaderField(script, L"Provides"), L"a");
    EXPECT_EQ(ServiceHeaderField(script, L"Late"), L"");
    EXPECT_EQ(ServiceHeaderField(script, L"provides"), L"");
    EXPECT_EQ(ServiceHeaderField(L"", L"pidfile"), L"");
}
