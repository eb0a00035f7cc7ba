// The pieces of the program in which its time is spent, each by itself and over three sizes: INI files, XML,
// URLs, text in and out of bytes, wildcards, and the removal of files.
//
// Files are made in a directory below $TMPDIR that is removed afterwards.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/Regex.h"
#include "corekit/text/Url.h"
#include "corekit/xml/BasicXml.h"

using corekit::BasicXml;
using corekit::Dir;
using corekit::IniFile;
using corekit::String;
namespace fs = std::filesystem;

namespace {

/// A directory of its own, gone at the end.
class ParentDirectory {
  public:
    ParentDirectory() : m_path((fs::temp_directory_path() / "hot-pieces.XXXXXX").string()) {
        if (mkdtemp(m_path.data()) == nullptr) std::abort();
    }
    ~ParentDirectory() { fs::remove_all(m_path); }
    ParentDirectory(const ParentDirectory&) = delete;
    ParentDirectory& operator=(const ParentDirectory&) = delete;

    std::string Of(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

std::string IniText(std::int64_t lines) {
    std::string text;
    for (std::int64_t line = 0; line < lines; ++line) {
        if (line % 100 == 0) {
            text += "[Section " + std::to_string(line / 100) + "]\n";
        } else {
            text += "option_" + std::to_string(line) + "=the value of line " + std::to_string(line) + "\n";
        }
    }
    return text;
}

/// A file of so many lines, and an entry in its middle.
struct Ini {
    explicit Ini(std::int64_t lines)
        : path(String::FromUtf8(place.Of("client.conf"))),
          section(L"Section " + String::FromInt(lines / 200)),
          key(L"option_" + String::FromInt(lines / 200 * 100 + 50)) {
        std::ofstream(place.Of("client.conf")) << IniText(lines);
    }

    ParentDirectory place;
    String path;
    String section;
    String key;
};

void IniLoadAndGet(benchmark::State& state) {
    const Ini ini(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(IniFile(ini.path).GetValue(ini.section, ini.key));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void IniLoadAndLineOf(benchmark::State& state) {
    const Ini ini(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(IniFile(ini.path).LineOf(ini.section, ini.key));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void IniSet(benchmark::State& state) {
    const Ini ini(state.range(0));
    IniFile file(ini.path);
    for (auto _ : state) file.SetValue(ini.section, ini.key, L"another value");
}

void IniWrite(benchmark::State& state) {
    const Ini ini(state.range(0));
    IniFile file(ini.path);
    file.SetValue(ini.section, ini.key, L"another value");
    for (auto _ : state) benchmark::DoNotOptimize(file.Write());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

std::string XmlText(std::int64_t settings) {
    std::string text = "<KSAgentConfiguration><ExtraConfigSettings>\n";
    for (std::int64_t i = 0; i < settings; ++i) {
        const std::string number = std::to_string(i);
        text += "<Setting Section=\"Section\" Name=\"option_" + number + "\" Value=\"the value of option " +
                number + "\"/>\n";
    }
    return text + "</ExtraConfigSettings></KSAgentConfiguration>\n";
}

void XmlReadAndGet(benchmark::State& state) {
    const std::string text = XmlText(state.range(0));
    const auto last = static_cast<std::size_t>(state.range(0) - 1);
    for (auto _ : state) benchmark::DoNotOptimize(BasicXml(text).GetNode(L"Setting", last).Exists());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void XmlWalk(benchmark::State& state) {
    const BasicXml document(XmlText(state.range(0)));
    std::size_t attributes = 0;
    for (auto _ : state) {
        document.ForEachElement(
            [&](const BasicXml::Element& element) { attributes += element.attributes.size(); });
    }
    benchmark::DoNotOptimize(attributes);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void UrlRead(benchmark::State& state) {
    const String text = L"https://kell.example.com:8083/Zorvane/";
    for (auto _ : state) benchmark::DoNotOptimize(corekit::Url(text).IsValid());
}

/// Mostly ASCII, with a letter of two bytes in each line, as an administrator's file in Latin script is.
std::string Prose(std::int64_t lines) {
    std::string text;
    for (std::int64_t line = 0; line < lines; ++line) text += "Location=the rack by the door, K\xC3\xB6ln\n";
    return text;
}

void TextFromBytes(benchmark::State& state) {
    const std::string bytes = Prose(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(String::FromUtf8(bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void TextToBytes(benchmark::State& state) {
    const String text = String::FromUtf8(Prose(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(text.Utf8());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.Length()));
}

void WildcardMatch(benchmark::State& state) {
    const std::string pattern = "*.kse";
    for (auto _ : state) benchmark::DoNotOptimize(corekit::MatchesWildcard(pattern, "event-9e3779b1.kse"));
}

void MakeQueue(const std::string& path, std::int64_t files) {
    fs::create_directory(path);
    for (std::int64_t i = 0; i < files; ++i) std::ofstream(path + "/event-" + std::to_string(i) + ".kse");
}

template <typename Remove>
void RemoveQueue(benchmark::State& state, Remove remove) {
    const ParentDirectory place;
    const std::string queue = place.Of("queue");
    for (auto _ : state) {
        state.PauseTiming();
        MakeQueue(queue, state.range(0));
        state.ResumeTiming();
        remove(queue);
        state.PauseTiming();
        fs::remove(queue);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void WildcardRemoval(benchmark::State& state) {
    RemoveQueue(state, [](const std::string& queue) {
        benchmark::DoNotOptimize(corekit::File::RemoveEx(String::FromUtf8(queue) + L"/*.kse"));
    });
}

void TreeRemoval(benchmark::State& state) {
    RemoveQueue(state, [](const std::string& queue) {
        benchmark::DoNotOptimize(Dir::Remove(String::FromUtf8(queue)));
    });
}

}  // namespace

BENCHMARK(IniLoadAndGet)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(IniLoadAndLineOf)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(IniSet)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(IniWrite)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(XmlReadAndGet)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(XmlWalk)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(UrlRead);
BENCHMARK(TextFromBytes)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(TextToBytes)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK(WildcardMatch);
BENCHMARK(WildcardRemoval)->RangeMultiplier(10)->Range(100, 10000);
BENCHMARK(TreeRemoval)->RangeMultiplier(10)->Range(100, 10000);

BENCHMARK_MAIN();
