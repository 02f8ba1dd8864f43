// The agent marks one answer to GetStatus after its list of packages has changed, whoever asked.
// Here every client address gets the mark once.
#pragma once

#include <map>
#include <string>

#include "gate/networks.h"

namespace gate {

/// Belongs to one thread. It knows at most kAddresses; one that was forgotten gets the mark again.
class RefreshedMark final {
  public:
    static constexpr size_t kAddresses = 4096;

    /// Takes the mark out of the agent's answer to GetStatus; each address has it to come then.
    void collect(std::string& status);
    /// Puts the mark that `client` has to come into its copy of that answer.
    void give(const Address& client, std::string& status);

  private:
    unsigned m_round = 0;                 ///< changes of the list so far
    std::map<Address, unsigned> m_given;  ///< the round of each address
};

}  // namespace gate
