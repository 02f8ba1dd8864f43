// How many places are taken, of all and by key, so that nobody takes them all.
#pragma once

#include <map>
#include <memory>

namespace gate {

/// Belongs to one thread; the places that it gives may outlive it.
template <typename Key>
class Places final {
    struct Taken {
        unsigned all = 0;
        std::map<Key, unsigned> byKey;
    };

  public:
    /// Free again when the object ends.
    class Place final {
      public:
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() {
            const auto entry = m_taken->byKey.find(m_key);
            if (--entry->second == 0) {
                m_taken->byKey.erase(entry);
            }
            --m_taken->all;
        }

      private:
        friend class Places;
        Place(const std::shared_ptr<Taken>& taken, const Key& key) : m_taken(taken), m_key(key) {
            ++m_taken->byKey[key];
            ++m_taken->all;
        }

        std::shared_ptr<Taken> m_taken;
        Key m_key;
    };

    std::unique_ptr<Place> take(const Key& key) {
        return std::unique_ptr<Place>(new Place(m_taken, key));
    }
    unsigned all() const noexcept { return m_taken->all; }
    unsigned of(const Key& key) const {
        const auto entry = m_taken->byKey.find(key);
        return entry == m_taken->byKey.end() ? 0 : entry->second;
    }

  private:
    std::shared_ptr<Taken> m_taken = std::make_shared<Taken>();
};

}  // namespace gate
