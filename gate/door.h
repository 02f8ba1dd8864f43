// What all conversations share, be they with a companion app or with a browser, and the way of a
// checked request to its answer.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <string>

#include "gate/agentQueue.h"
#include "gate/loginGuard.h"
#include "gate/requestCheck.h"
#include "gate/settings.h"
#include "gate/statistics.h"

namespace gate {

/// Belongs to one thread.
class Door final {
  public:
    Door(boost::asio::io_context& context, const Settings& initial)
        : settings(initial), queue(context, settings) {}

    /// Asks the agent where `request` is sound and may be tried once more, and answers for it where
    /// it is not. The caller waits at once, so that `request` lasts.
    boost::asio::awaitable<Answer> answer(Address client, const CheckedRequest& request);

    /// Counts a request that has been answered, and tells of it in a line of the log. `start`: when
    /// it was whole; `isTaken`: the client took the whole answer.
    void record(const Address& client, const CheckedRequest& request, const Answer& answer,
                AgentQueue::Time start, bool isTaken);

    Settings settings;  ///< may change between any two steps of a conversation
    AgentQueue queue;
    LoginGuard logins;
    Statistics statistics{};

  private:
    boost::asio::awaitable<Answer> logIn_(Address client, const CheckedRequest& request);
};

/// The result that a document of the agent tells, one of the fixed texts; the number of bytes of
/// what tells none. Any thread.
std::string resultIn(const std::string& payload);

}  // namespace gate
