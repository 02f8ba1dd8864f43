#include "gate/web/webConversation.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <optional>

#include "gate/web/page.h"

namespace gate {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using std::chrono::seconds;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
/// Browsers keep connections open for the next tap.
constexpr seconds kIdle{30};
constexpr seconds kGoodbye{2};
constexpr size_t kDropped = size_t{1} << 20;  ///< bytes that a refused client may still send
/// A phone has one page open, perhaps two, and leaves a stream half open when it sleeps.
constexpr unsigned kStreamsOfADevice = 8;

/// What came of a connection: a request, a reason to refuse it, or neither: it is over.
struct Incoming {
    std::optional<Request> request{};
    std::optional<Problem> problem{};
};

std::optional<Problem> problemOf(const boost::system::error_code& error) {
    if (error == http::error::header_limit || error == http::error::body_limit ||
        error == http::error::buffer_overflow) {
        return Problem{ProblemKind::tooLarge};
    }
    const bool isOver =
        error == http::error::end_of_stream || error == http::error::partial_message;
    const bool isOfHttp =
        error.category() == make_error_code(http::error::end_of_stream).category();
    return isOfHttp && !isOver ? std::optional(Problem{ProblemKind::badRequest}) : std::nullopt;
}

template <typename Stream>
asio::awaitable<Incoming> readRequest(Stream& stream, beast::flat_buffer& buffer, seconds limit) {
    PlainStream& lowest = beast::get_lowest_layer(stream);
    Incoming incoming;
    if (buffer.size() == 0) {
        constexpr size_t kFirst = 4096;
        lowest.expires_after(kIdle);
        const auto [error, count] =
            co_await stream.async_read_some(buffer.prepare(kFirst), kResult);
        if (error) {
            co_return incoming;
        }
        buffer.commit(count);
    }
    lowest.expires_after(limit);
    http::request_parser<http::string_body> parser;
    parser.header_limit(kRequestHeadLimit);
    parser.body_limit(kRequestBodyLimit);
    const auto [error, count] = co_await http::async_read(stream, buffer, parser, kResult);
    if (error) {
        incoming.problem = problemOf(error);
    } else if (parser.get().count(http::field::host) > 1 ||
               parser.get().count(http::field::transfer_encoding) > 0) {
        // Whoever stands in front may read such a request in another way than the gate does.
        incoming.problem = Problem{ProblemKind::badRequest};
    } else {
        incoming.request = parser.release();
    }
    co_return incoming;
}

/// Returns whether the client took it.
template <typename Stream>
asio::awaitable<bool> give(Stream& stream, WebContext& context, const Request& request,
                           Response& response) {
    complete(response, request, context.door.settings.web.isStrict);
    response.keep_alive(response.keep_alive() && !context.isEnding);
    beast::get_lowest_layer(stream).expires_after(seconds(context.door.settings.silenceSeconds));
    const auto [error, count] = co_await http::async_write(stream, response, kResult);
    co_return !error;
}

/// Has the kernel end a connection whose peer acknowledges nothing for `limit`: a phone that leaves
/// the network says no word, and the buffer of its socket takes events for many minutes.
void endWhenDeaf(asio::ip::tcp::socket& socket, seconds limit) {
    const auto milliseconds = static_cast<unsigned>(std::chrono::milliseconds(limit).count());
    setsockopt(socket.native_handle(), IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds,
               sizeof milliseconds);
}

template <typename Stream>
asio::awaitable<void> streamEvents(Stream& stream, WebContext& context, Request& request,
                                   const std::string& device) {
    const auto place = context.streams.take(device);
    request.keep_alive(false);  // the end of the connection is that of the stream
    if (context.streams.of(device) > kStreamsOfADevice) {
        Response refusal = problemResponse({ProblemKind::tooManyStreams});
        co_await give(stream, context, request, refusal);
        co_return;
    }
    Response head(http::status::ok, 11);
    head.set(http::field::content_type, "text/event-stream");
    head.set(http::field::cache_control, "no-store");
    complete(head, request, context.door.settings.web.isStrict);
    head.content_length(boost::none);
    PlainStream& lowest = beast::get_lowest_layer(stream);
    const seconds silence(context.door.settings.silenceSeconds);
    lowest.expires_after(silence);
    endWhenDeaf(lowest.socket(), silence);
    http::response_serializer<http::string_body> serializer(head);
    auto [error, count] = co_await http::async_write_header(stream, serializer, kResult);
    const auto subscription = context.watcher.subscribe();
    while (!error && !context.isEnding) {
        lowest.expires_never();
        const std::string events = co_await subscription->next();
        if (events.empty() || !context.devices.isPaired(device)) {
            break;
        }
        lowest.expires_after(silence);
        std::tie(error, count) = co_await asio::async_write(stream, asio::buffer(events), kResult);
    }
}

/// Answers one request; returns whether the connection stays.
template <typename Stream>
asio::awaitable<bool> answerOne(Stream& stream, WebContext& context, const Address& client,
                                Request& request) {
    const auto host = request[http::field::host];
    Response response;
    if (!context.site.isOwnHost({host.data(), host.size()})) {
        response = problemResponse({ProblemKind::unknownHost});
    } else if (!request.target().starts_with({kApiPath.data(), kApiPath.size()})) {
        response = pageResponse(request);
    } else {
        auto admitted = context.api.admit(request, context.site);
        if (std::holds_alternative<Problem>(admitted)) {
            context.door.statistics.refuse(Refusal::browser);
            response = problemResponse(std::get<Problem>(admitted));
        } else if (auto& call = std::get<Api::PairedCall>(admitted);
                   call.call.kind == Call::Kind::events) {
            co_await streamEvents(stream, context, request, call.device);
            co_return false;
        } else {
            beast::get_lowest_layer(stream).expires_never();  // the agent has a limit of its own
            response = co_await context.api.answer(client, call);
        }
    }
    if (const auto tag = response.find(http::field::etag);
        tag != response.end() && hasAlready(request, std::string(tag->value()))) {
        response.result(http::status::not_modified);
        response.body().clear();
    }
    const bool isTaken = co_await give(stream, context, request, response);
    co_return isTaken&& response.keep_alive();
}

/// Closes so that nothing of the answer is lost: a close over unread bytes would be a reset.
template <typename Stream>
asio::awaitable<void> close(Stream& stream) {
    PlainStream& lowest = beast::get_lowest_layer(stream);
    lowest.expires_after(kGoodbye);
    if constexpr (std::is_same_v<Stream, TlsStream>) {
        co_await stream.async_shutdown(kResult);
    }
    boost::system::error_code error;
    lowest.socket().shutdown(asio::ip::tcp::socket::shutdown_send, error);
    std::array<char, 4096> buffer;
    for (size_t dropped = 0; !error && dropped < kDropped;) {
        const auto [ended, count] = co_await lowest.async_read_some(asio::buffer(buffer), kResult);
        error = ended;
        dropped += count;
    }
    lowest.close();
}

}  // namespace

template <typename Stream>
asio::awaitable<void> converseWeb(Stream& stream, WebContext& context, WebConnection& connection) {
    beast::flat_buffer buffer(kRequestHeadLimit + kRequestBodyLimit);
    bool isKept = true;
    while (isKept) {
        connection.isAsking = true;
        const seconds limit(context.door.settings.requestSeconds);
        Incoming incoming = co_await readRequest(stream, buffer, limit);
        connection.isAsking = false;
        isKept = false;
        if (incoming.problem) {
            context.door.statistics.refuse(Refusal::browser);
            Request unread;
            unread.keep_alive(false);
            Response refusal = problemResponse(*incoming.problem);
            co_await give(stream, context, unread, refusal);
        } else if (incoming.request) {
            Request& request = *incoming.request;
            isKept = co_await answerOne(stream, context, connection.client, request);
        }
    }
    co_await close(stream);
}

template asio::awaitable<void> converseWeb(PlainStream&, WebContext&, WebConnection&);
template asio::awaitable<void> converseWeb(TlsStream&, WebContext&, WebConnection&);

}  // namespace gate
