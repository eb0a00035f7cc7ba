// The fuzz targets: each takes bytes as an input of the program, and ends this process when a property does
// not hold.
#pragma once

#include <string_view>

namespace fuzz {

void IniFile(std::string_view input);
void JobRecord(std::string_view input);
void Mounts(std::string_view input);
void PackageRecord(std::string_view input);
void Plan(std::string_view input);
void Questionnaire(std::string_view input);
void RunLevels(std::string_view input);
void Shown(std::string_view input);
void Url(std::string_view input);
void ValueQuery(std::string_view input);
void Version(std::string_view input);
void Xml(std::string_view input);

struct Target {
    std::string_view name;  // also that of its corpus
    void (*run)(std::string_view input);
};

inline constexpr Target kTargets[] = {
    {"ini-file", IniFile},
    {"job-record", JobRecord},
    {"mounts", Mounts},
    {"package-record", PackageRecord},
    {"plan", Plan},
    {"questionnaire", Questionnaire},
    {"run-levels", RunLevels},
    {"shown", Shown},
    {"url", Url},
    {"value-query", ValueQuery},
    {"version", Version},
    {"xml", Xml},
};

}  // namespace fuzz
