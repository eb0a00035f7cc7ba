// When a previewed command may ask its questions, and where its preview has colours.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include "app/PreviewedCommand.h"
#include "corekit/os/Descriptor.h"
#include "tests/support/EnvironmentVariable.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::Descriptor;
using Preview::Colours;
using testsupport::EnvironmentVariable;

/// Standard input is a terminal, and as before afterwards.
class AtATerminal : public testing::Test {
  protected:
    AtATerminal() : m_input(dup(STDIN_FILENO)) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr), 0);
        m_far = Descriptor(ends[0]);
        m_near = Descriptor(ends[1]);
        dup2(m_near.Get(), STDIN_FILENO);
    }
    ~AtATerminal() override { dup2(m_input.Get(), STDIN_FILENO); }

    static bool MayAsk(const wchar_t* word, const std::vector<corekit::String>& arguments) {
        PreviewedCommand command;
        EXPECT_TRUE(command.Choose(word));
        return command.MayAsk(arguments);
    }

    Descriptor m_input;
    Descriptor m_far;
    Descriptor m_near;
};

TEST_F(AtATerminal, APreviewMayAsk_UnlessItIsToldNotTo) {
    EXPECT_TRUE(MayAsk(L"-configure", {}));
    EXPECT_TRUE(MayAsk(L"-configure", {L"-nosearch", L"-dir", L"/opt/agent"}));
    EXPECT_FALSE(MayAsk(L"-configure", {L"-noimode"}));
    EXPECT_FALSE(MayAsk(L"-configure", {L"-nosearch", L"-quiet"}));
    EXPECT_TRUE(MayAsk(L"-iconfigure", {}));
    EXPECT_FALSE(MayAsk(L"-clean", {L"/opt/agent"}));
    const Descriptor nowhere(open("/dev/null", O_RDONLY));
    dup2(nowhere.Get(), STDIN_FILENO);
    EXPECT_FALSE(MayAsk(L"-iconfigure", {}));
}

TEST_F(AtATerminal, APreviewHasColours_UnlessNobodyWantsAny) {
    const EnvironmentVariable able("TERM", "xterm");
    const EnvironmentVariable wanted("NO_COLOR", std::nullopt);
    EXPECT_EQ(ColoursOn(m_near.Get()), Colours::Terminal);
    const Descriptor nowhere(open("/dev/null", O_WRONLY));
    EXPECT_EQ(ColoursOn(nowhere.Get()), Colours::None);
    {
        const EnvironmentVariable unable("TERM", "dumb");
        EXPECT_EQ(ColoursOn(m_near.Get()), Colours::None);
    }
    const EnvironmentVariable unwanted("NO_COLOR", "1");
    EXPECT_EQ(ColoursOn(m_near.Get()), Colours::None);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
