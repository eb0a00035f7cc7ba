// Replays the inputs that are kept for the fuzz targets: what was found once stays found.
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/fuzz/Targets.h"
#include "tests/support/TestFiles.h"

namespace fuzz {
namespace {

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, KeepsEveryProperty) {
    const std::string corpus = std::string(FUZZ_CORPUS) + "/" + std::string(GetParam().name);
    const std::vector<std::string> inputs = testfiles::NamesIn(corpus);
    ASSERT_FALSE(inputs.empty());
    for (const std::string& input : inputs) {
        SCOPED_TRACE(input);
        GetParam().run(testfiles::Read(corpus + "/" + input));
    }
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Corpus, testing::ValuesIn(kTargets), [](const auto& target) {
    std::string name(target.param.name);
    std::ranges::replace(name, '-', '_');
    return name;
});

}  // namespace
}  // namespace fuzz
