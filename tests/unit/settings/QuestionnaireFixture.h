// What the tests of the questionnaire share: the texts of the dialogue, and runs on typed input.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "settings/Questionnaire.h"
#include "settings/XmlConfig.h"
#include "tests/support/Captured.h"
#include "tests/support/EnvironmentVariable.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandardInput.h"

namespace Zorvane::AgentInstaller {

inline constexpr const char* kIntroduction =
    "Using interactive configuration, cancel with Ctrl-C.\n  Please answer the following questions.\n"
    "  Defaults are in brackets. To accept a default just press enter.\n\n";
inline constexpr const char* kInvalid = "  Invalid value entered. Please re-enter or Ctrl-C to cancel.\n";

inline const Question& QuestionFor(SettingName key) {
    for (const Question& question : Questions()) {
        if (question.key == key) return question;
    }
    std::abort();  // no such question
}

/// The question as it is asked with this proposal.
inline std::string Asked(SettingName key, const std::string& shownDefault) {
    return corekit::String(QuestionFor(key).prompt).Utf8() + " (" + shownDefault + "): ";
}

class Questionnaire : public testing::Test {
  protected:
    Questionnaire() {
        GivenAPackage("/opt/zorvane/kell/ksagent");
        GivenAPackage("/opt/zorvane");
        m_settings = DefaultSettings();
    }
    ~Questionnaire() override { std::filesystem::remove_all("/opt/zorvane"); }

    /// Runs the questionnaire on what is typed; "" for each line that is only Enter.
    bool Run(const std::string& typed) {
        const testsupport::StandardInput input(typed);
        m_output = testsupport::Captured([&] { m_outcome = RunQuestionnaire(*m_settings); });
        EXPECT_EQ(m_output.err, "");
        return m_outcome.has_value();
    }
    /// The answer to one question, asked with this proposal of what is typed, or the text of its failure.
    corekit::String Ask(SettingName key, const corekit::String& proposal, const std::string& typed) {
        const testsupport::StandardInput input(typed);
        Outcome<corekit::String> answer;
        m_output = testsupport::Captured([&] { answer = AskQuestion(QuestionFor(key), proposal); });
        return answer ? *answer : answer.error().text;
    }
    static void GivenAPackage(const std::filesystem::path& directory) {
        std::filesystem::create_directories(directory / "etc");
        std::ofstream(directory / "etc/client.proto") << "[Configuration]\n";
    }
    corekit::String& Setting(SettingName name) { return m_settings->Value(name); }

    const testsupport::EnvironmentVariable m_charset{"LC_ALL", "C.UTF-8"};
    std::unique_ptr<Settings> m_settings;
    testsupport::Output m_output;
    Outcome<> m_outcome;
};

/// Enter fourteen times: accepts what is proposed from the second question on.
inline const std::string kRestByDefault(14, '\n');

}  // namespace Zorvane::AgentInstaller
