// The door for browsers: HTTPS, the page and its JSON interface.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

#include "gate/admission.h"
#include "gate/web/webConversation.h"

namespace gate {

/// Belongs to the thread of its io_context, and outlives the conversations on it.
class WebDoor final {
  public:
    /// Listens; `stateDirectory` holds the certificate where the settings name none. Throws
    /// std::runtime_error, a line for people, when the port is taken or a certificate cannot be
    /// read or made.
    WebDoor(boost::asio::io_context& context, Door& door, Devices& devices, PairingCodes& codes,
            const std::string& stateDirectory);
    void start();

    /// Takes what has changed in the settings, and reads the certificate again. Throws as the
    /// constructor does; the old ones stay in force then.
    void reload();

    /// Takes no new connection and ends those that ask for nothing; isIdle() tells when the last
    /// one is gone.
    void end();
    bool isIdle() const noexcept { return m_connections.empty(); }

    /// What a phone opens to be paired by `code`.
    std::string pairingAddress(const std::string& code) const;

  private:
    using TlsContext = boost::asio::ssl::context;

    void checkCertificate_() const;
    std::shared_ptr<TlsContext> readCertificate_() const;
    Site site_() const;
    void take_(boost::asio::ip::tcp::socket socket);
    boost::asio::awaitable<void> serve_(boost::asio::ip::tcp::socket socket, Admitted admitted);
    boost::asio::awaitable<void> converse_(boost::asio::ip::tcp::socket socket,
                                           WebConnection& connection);

    boost::asio::io_context& m_context;
    Door& m_door;
    std::string m_stateDirectory;
    boost::asio::ip::tcp::acceptor m_acceptor;
    std::shared_ptr<TlsContext> m_tls;  ///< null until a browser comes
    Watcher m_watcher;
    Api m_api;
    WebContext m_shared;
    Places<Address> m_places;
    std::unordered_set<WebConnection*> m_connections;
};

}  // namespace gate
