// By which names the server is known, so that a page of another name cannot speak for it.
#pragma once

#include <string>
#include <vector>

namespace gate {

/// Belongs to one thread.
class Site final {
  public:
    /// `names`: host names besides "localhost"; addresses are always the server's own.
    Site(std::vector<std::string> names, bool isPlain)
        : m_names(std::move(names)), m_isPlain(isPlain) {}

    /// Whether `host`, the value of a Host header, is an address or a name of the server. A name of
    /// somebody else's that resolves to the server (DNS rebinding) is none.
    bool isOwnHost(std::string_view host) const;

    /// Whether `origin`, the value of an Origin header, is that of a page of this server at `host`.
    bool isOwnOrigin(std::string_view origin, std::string_view host) const;

  private:
    std::vector<std::string> m_names;
    bool m_isPlain;  ///< the scheme is that of a proxy in front
};

}  // namespace gate
