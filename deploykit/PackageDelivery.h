// Package records: what the agent keeps about each package that it delivers.
#pragma once

#include "corekit/text/String.h"
#include "corekit/xml/XmlElement.h"

namespace deploykit::PackageDelivery {

/// Who uses a package, and how far its delivery to that user is.
class PackageUser {
  public:
    /// Fields have names like PkgStatus. One that was set before is replaced.
    void Set(const corekit::String& field, const corekit::String& text) { m_element.Set(field, text); }

  private:
    friend class Package;
    corekit::XmlElement m_element{L"PackageUser"};
};

/// The record of one package.
class Package {
  public:
    /// Fields have names like PkgTotalSize. One that was set before is replaced.
    void Set(const corekit::String& field, const corekit::String& text) { m_element.Set(field, text); }
    void AddUser(const PackageUser& user) { m_element.Add(user.m_element); }

    /// The XML document: an element Package with a PackageUser for each user, the fields as attributes. Empty
    /// when XML cannot hold the name or the text of a field.
    corekit::String ToString() const { return m_element.ToString(); }

  private:
    corekit::XmlElement m_element{L"Package"};
};

}  // namespace deploykit::PackageDelivery
