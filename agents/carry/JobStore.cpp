// Converting the jobs of the software delivery.
#include "agents/carry/JobStore.h"

#include "agents/carry/StoreRecords.h"
#include "config/ConfiguredPaths.h"
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

void ConvertJob(const String& store, const String& name) {
    const String infoPath = store + name + kInfoSuffix;
    Fields fields;
    String xml;
    if (!ReadFields(infoPath, kSection, fields)) return;
    if (!ReadXmlRecord(store + name + L".qdn-job-xml", xml)) return;
    if (!WriteRecord(store + L".qdn-job-xml-" + name.Upper(), JobRecord(fields, xml), infoPath)) return;
    corekit::Forgive(corekit::File::Remove(infoPath));
}

}  // namespace

void ConvertJobs(const String& jobStore) {
    const String store = UsableDirectory(jobStore);
    if (store.IsEmpty()) return;
    const String pattern = String(L"{*") + kInfoSuffix;
    corekit::Forgive(corekit::Dir::Scan(store, pattern, [&store](const corekit::FileInfo& entry) {
        if (!entry.isDirectory) {
            ConvertJob(store, entry.name.Left(entry.name.Length() - String(kInfoSuffix).Length()));
        }
        return true;
    }));
}

}  // namespace Zorvane::AgentInstaller
