// The questionnaire: whatever is typed, what is stored is an answer to its question.
#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/os/Console.h"
#include "corekit/os/Descriptor.h"
#include "settings/Questionnaire.h"
#include "settings/ServerUrl.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::Descriptor;
using corekit::String;
using namespace Zorvane::AgentInstaller;

namespace {

/// Standard input is this text, and standard output goes nowhere.
class Dialogue {
  public:
    explicit Dialogue(std::string_view typed) : m_typed(typed), m_input(stdin), m_output(dup(STDOUT_FILENO)) {
        stdin = fmemopen(m_typed.data(), m_typed.size(), "r");
        dup2(Nowhere(), STDOUT_FILENO);
    }
    ~Dialogue() {
        corekit::Console::Flush();
        std::fclose(stdin);
        stdin = m_input;
        dup2(m_output.Get(), STDOUT_FILENO);
    }
    Dialogue(const Dialogue&) = delete;
    Dialogue& operator=(const Dialogue&) = delete;

  private:
    static int Nowhere() {
        static const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
        return nowhere.Get();
    }

    std::string m_typed;
    std::FILE* m_input;
    Descriptor m_output;
};

bool IsIn(const String& answer, std::wstring_view words) {
    return String(words).Contains(L":" + answer.Lower() + L":");
}

bool IsAnswer(const Question& question, const String& answer) {
    switch (question.kind) {
        case AnswerKind::Text:
            return question.allowed.empty() || IsIn(answer, question.allowed);
        case AnswerKind::Directory:
            return answer.StartsWith(L"/") && corekit::File::IsDirectory(answer);
        case AnswerKind::NonEmpty:
            return true;
        case AnswerKind::YesNo:
            return answer == L"yes" || answer == L"no";
        case AnswerKind::Digits:
            return std::ranges::all_of(answer, [](wchar_t digit) { return digit >= L'0' && digit <= L'9'; });
    }
    return false;
}

bool IsOneLine(const String& text) {
    return std::ranges::none_of(text,
                                [](wchar_t character) { return character == L'\0' || character == L'\n'; });
}

void CheckAnswers(const Settings& settings) {
    for (const Question& question : Questions()) {
        const String answer = settings.Get(question.key);
        Holds(!answer.IsEmpty() || (!settings.Exists(question.key) && question.key == L"Upgrade"),
              "every question that is asked is answered");
        if (answer.IsEmpty()) continue;
        Holds(IsOneLine(answer), "an answer is one line");
        Holds(IsAnswer(question, answer), "an answer is of its question's kind");
    }
    const ServerUrl server(settings.Get(L"KSProtocol") + L"://" + settings.Get(L"KSName"));
    Holds(server.IsValid() && server.ServerName() == settings.Get(L"KSName"), "the server is valid");
    Holds(settings.IsYes(L"IsInteractive"), "the settings are the operator's");
}

}  // namespace

void Questionnaire(std::string_view input) {
    Parts parts(input);
    Settings settings;
    if (!parts.Next().empty()) {
        settings.Value(L"Upgrade") = L"yes";
        settings.Value(L"KSName") = L"kell.example:8083";
        settings.Value(L"KSUrlFormat") = L"https://%server%/Zorvane/";
        settings.Value(L"InstallDir") = L"/opt";
    }
    const Dialogue dialogue(parts.Rest());
    if (RunQuestionnaire(settings)) {
        CheckAnswers(settings);
    } else {
        Holds(std::feof(stdin) != 0, "only the end of the input ends the questions");
    }
}

}  // namespace fuzz
