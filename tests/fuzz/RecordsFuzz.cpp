// Records of older stores: each is carried over with all that it says, or stays as it is.
#include "agents/carry/StoreConversion.h"
#include "agents/carry/StoreRecords.h"
#include "corekit/ini/IniFile.h"
#include "corekit/xml/BasicXml.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"
#include "tests/fuzz/TempPlace.h"

namespace fuzz {

using corekit::BasicXml;
using corekit::String;
using namespace Zorvane::AgentInstaller;

namespace {

/// The files of a record, and what converts the store that they lie in.
struct Kind {
    const char* info;
    const char* xml;
    const char* record;
    const wchar_t* section;
    void (*convert)(const String& store);
};
constexpr Kind kPackage = {"{a}.qdn-pkg-info", "{a}.qdn-pkg-xml", ".qdn-pkg-xml-{A}", L"PackageInfo",
                           ConvertPackages};
constexpr Kind kJob = {"{a}.qdn-job-info", "{a}.qdn-job-xml", ".qdn-job-xml-{A}", L"JobInfo", ConvertJobs};

using Entries = corekit::IniFile::Entries;

/// Where a record holds the fields.
bool HasField(const BasicXml& record, const char* element, const String& name, const String& text) {
    corekit::AttributeMap attributes;
    record.GetAttributes(String::FromUtf8(element), attributes);
    const auto field = attributes.find(name);
    return field != attributes.end() && field->second == text;
}

void CheckRecord(const std::string& bytes, const Entries& entries) {
    const BasicXml record(String::FromUtf8(bytes));
    Holds(record.GetRefusal() == nullptr, "a record is well-formed");
    for (const auto& [key, value] : entries) {
        const String name = FieldName(key);
        Holds(HasField(record, "Package", name, value) || HasField(record, "PackageUser", name, value) ||
                  HasField(record, "Job", name, value),
              "a record holds every entry of the old one");
    }
}

void CheckDownload(const std::string& bytes, const std::string& oldXml) {
    corekit::AttributeMap old;
    BasicXml(String::FromUtf8(oldXml)).GetAttributes(L"Download", old);
    const BasicXml record(String::FromUtf8(bytes));
    for (const auto& [name, value] : old)
        Holds(HasField(record, "Download", name, value), "a job keeps its download");
}

/// Converts a store with one record in it, twice.
void Convert(const Kind& kind, std::string_view input) {
    static const TempPlace place;
    Parts parts(input);
    const std::string info(parts.Next());
    const std::string xml(parts.Rest());
    std::filesystem::create_directory(place / "{a}");
    place.Remove(kind.record);
    place.Write(kind.info, info);
    place.Remove(kind.xml);
    if (!xml.empty()) place.Write(kind.xml, xml);
    Entries entries;
    corekit::IniFile(String::FromUtf8(place / kind.info)).GetEntries(kind.section, entries);

    const String store = String::FromUtf8(place.Path());
    kind.convert(store);
    const std::string record = place.Read(kind.record);
    Holds(place.Has(kind.info) == record.empty(), "there is the old record or the one of today");
    Holds(!place.Has(kind.info) || place.Read(kind.info) == info,
          "a record that is not converted stays as it is");
    Holds(place.Read(kind.xml) == xml, "the old XML record stays as it is");
    if (!record.empty()) CheckRecord(record, entries);
    if (!record.empty() && &kind == &kJob) CheckDownload(record, xml);

    kind.convert(store);
    Holds(place.Read(kind.record) == record, "the second time nothing changes");
}

}  // namespace

void JobRecord(std::string_view input) {
    Convert(kJob, input);
}

void PackageRecord(std::string_view input) {
    Convert(kPackage, input);
}

}  // namespace fuzz
