// A limit on the time that a coroutine spends with one socket.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>

namespace gate {

/// Belongs to the thread of the socket's executor, and does not outlive the socket.
template <typename Socket>
class Deadline final {
  public:
    /// What is done to the socket in the end.
    enum class Ending {
        close,  ///< every operation fails from then on
        cancel  ///< the operation in work fails; isOver() has to be looked at before each further
                ///< one
    };

    explicit Deadline(Socket& socket, Ending ending = Ending::close)
        : m_state(std::make_shared<State>(State{&socket, ending})),
          m_timer(socket.get_executor()) {}
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    /// An expiry that is already on its way finds no socket.
    ~Deadline() { m_state->socket = nullptr; }

    /// Sets the limit anew, from now on.
    void extend(std::chrono::milliseconds limit) {
        m_timer.expires_after(limit);
        m_timer.async_wait(
            [state = m_state, round = ++m_state->round](const boost::system::error_code& error) {
                if (!error && state->socket != nullptr && round == state->round) {
                    state->end();
                }
            });
    }

    bool isOver() const noexcept { return m_state->isOver; }

  private:
    struct State {
        Socket* socket;
        Ending ending;
        unsigned round = 0;  ///< an expiry on its way while the limit is extended is none
        bool isOver = false;

        void end() {
            boost::system::error_code ignored;
            isOver = true;
            ending == Ending::close ? socket->close(ignored) : socket->cancel(ignored);
        }
    };

    std::shared_ptr<State> m_state;
    boost::asio::steady_timer m_timer;
};

}  // namespace gate
