// Converting the jobs of the software delivery.
#include "agents/carry/JobStore.h"

#include "agents/carry/StoreRecords.h"
#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/xml/BasicXml.h"
#include "corekit/xml/XmlElement.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::XmlElement;

namespace {

constexpr const wchar_t* kSection = L"JobInfo";
constexpr const wchar_t* kDownload = L"Download";
constexpr const wchar_t* kInfoSuffix = L".qdn-job-info";
constexpr const wchar_t* kXmlSuffix = L".qdn-job-xml";

XmlElement Element(const wchar_t* name, const Fields& fields) {
    XmlElement element(name);
    for (const auto& [field, text] : fields) element.Set(field, text);
    return element;
}

String JobRecord(const Fields& fields, const String& oldXml) {
    XmlElement job = Element(L"Job", fields);
    const corekit::BasicXml download = corekit::BasicXml(oldXml).GetNode(kDownload);
    if (download.Exists()) {
        corekit::AttributeMap attributes;
        download.GetAttributes(attributes);
        job.Add(Element(kDownload, attributes));
    }
    return job.ToString();
}

/// `stem` is the path of the old records without their suffixes.
Outcome<> ConvertJob(const String& stem, const String& newPath) {
    const String infoPath = stem + kInfoSuffix;
    const auto fields = ReadFields(infoPath, kSection);
    if (!fields) return tl::unexpected(fields.error());
    const auto xml = ReadXmlRecord(stem + kXmlSuffix);
    if (!xml) return tl::unexpected(xml.error());
    auto written = WriteRecord(newPath, JobRecord(*fields, *xml), infoPath);
    // As long as it is there, the next run converts the job again.
    if (written) corekit::Forgive(corekit::File::Remove(infoPath));
    return written;
}

/// Converts the job whose record is there; nothing where there is none.
void ConvertIfPresent(const String& stem, const String& store, const String& name) {
    const String infoPath = stem + kInfoSuffix;
    if (!corekit::File::Exists(infoPath) || corekit::File::IsDirectory(infoPath)) return;
    WarnUnlessConverted(infoPath, ConvertJob(stem, store + kXmlSuffix + L"-" + name.Upper()));
}

}  // namespace

void ConvertJobs(const String& jobStore) {
    const String store = UsableDirectory(jobStore);
    if (store.IsEmpty()) return;
    const corekit::Result read = corekit::Dir::Scan(store, L"{*", [&store](const corekit::FileInfo& entry) {
        const String directory = store + entry.name + L"/";
        if (entry.isDirectory) {
            ConvertIfPresent(directory + entry.name, store, entry.name);
            ConvertIfPresent(directory, store, entry.name);
        } else if (entry.name.EndsWith(kInfoSuffix)) {
            const String name = entry.name.Left(entry.name.Length() - String(kInfoSuffix).Length());
            ConvertIfPresent(store + name, store, name);
        }
        return true;
    });
    WarnUnlessRead(store, read);
}

}  // namespace Zorvane::AgentInstaller
