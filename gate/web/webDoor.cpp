#include "gate/web/webDoor.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "gate/admission.h"
#include "gate/listener.h"
#include "gate/log.h"
#include "gate/web/certificate.h"
#include "gate/web/childProcess.h"
#include "gate/web/hostNames.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);

}  // namespace

WebDoor::WebDoor(asio::io_context& context, Door& door, Devices& devices, PairingCodes& codes,
                 const std::string& stateDirectory)
    : m_context(context),
      m_door(door),
      m_stateDirectory(stateDirectory),
      m_acceptor(listenOn(context, door.settings.web.port)),
      m_watcher(context, door),
      m_api(door, m_watcher, devices, codes),
      m_shared{door, devices, m_watcher, m_api, site_()} {
    checkCertificate_();
}

void WebDoor::start() {
    const auto take = [this](tcp::socket socket) { take_(std::move(socket)); };
    asio::co_spawn(m_context, acceptAll(m_acceptor, take), [](const std::exception_ptr& error) {
        if (error) {  // without its door the gate is of no use
            std::rethrow_exception(error);
        }
    });
}

/// Many a household has apps alone: the library for TLS, a third of the gate's memory, comes with
/// the first browser. Until then a child looks whether it can be used.
void WebDoor::checkCertificate_() const {
    if (m_door.settings.web.isPlain) {
        return;
    }
    const std::string fault = faultInChild([this] { readCertificate_(); });
    if (!fault.empty()) {
        throw std::runtime_error(fault);
    }
}

std::shared_ptr<asio::ssl::context> WebDoor::readCertificate_() const {
    const Settings::Web& web = m_door.settings.web;
    CertificateFiles files{web.certificate, web.key};
    if (files.certificate.empty()) {
        files = ensureCertificate(m_stateDirectory, ownHostNames());
    }
    auto tls = std::make_shared<TlsContext>(TlsContext::tls_server);
    tls->set_options(TlsContext::no_tlsv1 | TlsContext::no_tlsv1_1);
    // A thousand phones that watch need no buffers between two events.
    SSL_CTX_set_mode(tls->native_handle(), SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_session_cache_mode(tls->native_handle(), SSL_SESS_CACHE_OFF);
    boost::system::error_code error;
    std::string file = files.certificate;
    tls->use_certificate_chain_file(file, error);
    if (!error) {
        file = files.key;
        tls->use_private_key_file(file, TlsContext::pem, error);
    }
    if (error) {
        throw std::runtime_error(file + ": " + error.message());
    }
    return tls;
}

Site WebDoor::site_() const {
    std::vector<std::string> names = ownHostNames().names;
    const Settings::Web& web = m_door.settings.web;
    names.insert(names.end(), web.names.begin(), web.names.end());
    return {names, web.isPlain};
}

void WebDoor::reload() {
    checkCertificate_();
    m_shared.site = site_();
    m_tls.reset();
}

std::string WebDoor::pairingAddress(const std::string& code) const {
    const Settings::Web& web = m_door.settings.web;
    std::string address = "https://";
    address += web.names.empty() ? ownHostNames().reachable() : web.names.front();
    if (!web.isPlain) {  // the port of a proxy in front is its own
        address += ":" + std::to_string(m_acceptor.local_endpoint().port());
    }
    return address + "/#pair=" + code;
}

void WebDoor::take_(tcp::socket socket) {
    const Settings::Web& web = m_door.settings.web;
    auto admitted = admit(socket, m_door, m_places, {web.connections, web.connectionsOfAnAddress});
    if (admitted) {
        asio::co_spawn(m_context, serve_(std::move(socket), std::move(*admitted)), asio::detached);
    }
}

asio::awaitable<void> WebDoor::serve_(tcp::socket socket, Admitted admitted) {
    WebConnection connection{admitted.address, nullptr};
    m_connections.insert(&connection);
    try {
        co_await converse_(std::move(socket), connection);
    } catch (const std::exception& error) {  // memory is lacking: one client less
        logText(std::string("a browser's connection was given up: ") + error.what());
    }
    m_connections.erase(&connection);
}

asio::awaitable<void> WebDoor::converse_(tcp::socket socket, WebConnection& connection) {
    if (m_door.settings.web.isPlain) {
        PlainStream stream(std::move(socket));
        connection.stream = &stream;
        co_await converseWeb(stream, m_shared, connection);
        co_return;
    }
    if (m_tls == nullptr) {
        m_tls = readCertificate_();
    }
    const std::shared_ptr<TlsContext> tls = m_tls;  // a reload puts another in its place
    TlsStream stream(std::move(socket), *tls);
    connection.stream = &stream.next_layer();
    stream.next_layer().expires_after(std::chrono::seconds(m_door.settings.requestSeconds));
    const auto [error] = co_await stream.async_handshake(asio::ssl::stream_base::server, kResult);
    if (!error) {
        co_await converseWeb(stream, m_shared, connection);
    }
}

void WebDoor::end() {
    boost::system::error_code ignored;
    m_acceptor.close(ignored);
    m_shared.isEnding = true;
    m_watcher.end();
    for (WebConnection* const connection : m_connections) {
        if (connection->isAsking && connection->stream != nullptr) {
            connection->stream->close();
        }
    }
}

}  // namespace gate
