// The parts of a URL that name a server.
#pragma once

#include "corekit/text/String.h"

namespace corekit {

/// scheme://[user@]host[:port][/path][?query]; without "://" the scheme is empty. The path, the query and the
/// user name are accepted and ignored.
class Url {
  public:
    explicit Url(const String& text);

    const String& GetProtocol() const { return m_protocol; }
    void SetProtocol(const String& protocol) { m_protocol = protocol; }

    /// Letters, digits, ".", "-" and "_", or an IPv6 address with its brackets.
    const String& GetHost() const { return m_host; }

    /// 1 to 65535; negative when none is given (or the one given is no port: then the URL is not valid).
    int GetPort() const { return m_port; }

    /// A non-empty, well-formed host and, where a port is given, a decimal number 1 to 65535. A scheme
    /// consists of letters, digits, "+", "-" and ".".
    bool IsValid() const { return m_valid; }

  private:
    String m_protocol;
    String m_host;
    int m_port = -1;
    bool m_valid = false;
};

}  // namespace corekit
