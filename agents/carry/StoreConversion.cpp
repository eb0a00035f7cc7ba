// Converting the jobs and the packages of the software delivery.
#include "agents/carry/StoreConversion.h"

#include <algorithm>

#include "agents/carry/StoreRecords.h"
#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/xml/BasicXml.h"
#include "corekit/xml/XmlElement.h"
#include "deploykit/PackageDelivery.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::XmlElement;
using deploykit::PackageDelivery::Package;
using deploykit::PackageDelivery::PackageUser;

namespace {

constexpr const wchar_t* kJobSection = L"JobInfo";
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
    const auto fields = ReadFields(infoPath, kJobSection);
    if (!fields) return fields.error();
    const auto xml = ReadXmlRecord(stem + kXmlSuffix);
    if (!xml) return xml.error();
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

constexpr const wchar_t* kPackageSection = L"PackageInfo";
constexpr const wchar_t* kInternalVersion = L"InternalVersion";
constexpr const wchar_t* kUserName = L"Zorvane.SWD";

// The fields that tell how far the delivery to the user is.
constexpr const wchar_t* kUserFields[] = {
    L"Codebases",
    L"PkgCurrentSize",
    L"PkgStatus",
    L"PkgLastDownloadStatus",
    L"PkgLastDownloadStatusErr",
    L"PkgDownloadNumber",
    L"PkgDeleteAfter",
};

/// The old records as fields.
Outcome<Fields> ReadPackage(const String& infoPath, const String& xmlPath) {
    auto fields = ReadFields(infoPath, kPackageSection);
    if (!fields) return fields;
    const auto xml = ReadXmlRecord(xmlPath);
    if (!xml) return xml.error();
    const String version = corekit::BasicXml(*xml).GetText(kInternalVersion).Trim();
    if (version.IsEmpty()) return fields;
    const auto added = AddField(*fields, kInternalVersion, version);
    if (!added) return added.error();
    return fields;
}

/// The record of today; what older agents did not record goes ahead, so that what they did prevails.
String PackageRecord(const Fields& fields) {
    Package package;
    PackageUser user;
    package.Set(L"Enabled", L"true");
    package.Set(L"Deleted", L"false");
    user.Set(L"Name", kUserName);
    user.Set(L"Priority", L"normal");
    for (const auto& [name, text] : fields) {
        if (std::ranges::find(kUserFields, name) != std::end(kUserFields)) {
            user.Set(name, text);
        } else {
            package.Set(name, text);
        }
    }
    package.AddUser(user);
    return package.ToString();
}

Outcome<> ConvertPackage(const String& store, const String& name) {
    const String infoPath = store + name + L".qdn-pkg-info";
    const String newName = name.Upper();
    const auto fields = ReadPackage(infoPath, store + name + L".qdn-pkg-xml");
    if (!fields) return fields.error();
    Outcome<> converted = WriteRecord(store + L".qdn-pkg-xml-" + newName, PackageRecord(*fields), infoPath);
    for (const wchar_t* file : {L".qdn-pkg-codebases", L".qdn-pkg-snapshot"}) {
        if (converted) converted = MoveIfPresent(store + name + file, store + file + L"-" + newName);
    }
    // As long as it is there, the next run converts the package again.
    if (converted) corekit::Forgive(corekit::File::Remove(infoPath));
    return converted;
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
        } else if (const auto name = entry.name.WithoutSuffix(kInfoSuffix)) {
            ConvertIfPresent(store + *name, store, *name);
        }
        return true;
    });
    WarnUnlessRead(store, read);
}

void ConvertPackages(const String& packageStore) {
    const String store = UsableDirectory(packageStore);
    if (store.IsEmpty()) return;
    const corekit::Result read = corekit::Dir::Scan(store, L"{*", [&store](const corekit::FileInfo& entry) {
        const String infoPath = store + entry.name + L".qdn-pkg-info";
        if (entry.isDirectory && corekit::File::Exists(infoPath))
            WarnUnlessConverted(infoPath, ConvertPackage(store, entry.name));
        return true;
    });
    WarnUnlessRead(store, read);
}

}  // namespace Zorvane::AgentInstaller
