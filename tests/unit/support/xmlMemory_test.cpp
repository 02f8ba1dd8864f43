// Memory that runs out while a document is parsed or built.
#include <gtest/gtest.h>

#include <new>

#include "xmlTesting.h"

namespace {

constexpr int kNeverFails = -1;
int allocationsLeft = kNeverFails;  // of operator new, in the whole program

/// While it lives, only `count` more allocations succeed.
struct MemoryLimit {
    explicit MemoryLimit(int count) { allocationsLeft = count; }
    ~MemoryLimit() { allocationsLeft = kNeverFails; }
};

}  // namespace

// Not inlined, or GCC takes the pairs of malloc and operator delete for mistakes.
[[gnu::noinline]] void* operator new(size_t size) {
    void* const memory = allocationsLeft == 0 ? nullptr : malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/) noexcept {
    free(memory);
}

namespace {

/// Calls `work` with memory for 0, 1, 2 ... allocations until one call succeeds; returns how many
/// did not.
template <typename Work>
int failuresOf(Work work) {
    int allocations = 0;
    while (!work(MemoryLimit(allocations))) {
        ++allocations;
    }
    return allocations;
}

TEST(OutOfMemory, AParseFailsAtEachAllocation) {
    std::string text = "<r a='1' b='2' c='3'>";
    for (int i = 0; i < 100; ++i) {
        text += "<a>";  // takes more memory than the text lets expect
    }
    EXPECT_GE(failuresOf([&text](const MemoryLimit&) {
                  XMLResults results{XMLError::none, 7, 7};
                  const bool isParsed =
                      !XMLNode::parseString(text.c_str(), nullptr, &results).isEmpty();
                  EXPECT_EQ(results.error, isParsed ? XMLError::unmatchedEndTagWarning
                                                    : XMLError::conversionFailed);
                  EXPECT_EQ(results.line, isParsed ? 1 : 0);
                  return isParsed;
              }),
              5);
}

TEST(OutOfMemory, ATopNodeIsEmpty) {
    const std::string name(5000, 'n');
    EXPECT_EQ(failuresOf([&name](const MemoryLimit&) {
                  return !XMLNode::createTopNode(name.c_str()).isEmpty();
              }),
              2);
}

TEST(OutOfMemory, AnEditFailsAndTheTreeStays) {
    constexpr int kMoreThanFit = 1000;
    using Edit = bool (*)(XMLNode&);
    const Edit edits[] = {
        [](XMLNode& node) { return !node.addChild("b", false, 1).isEmpty(); },
        [](XMLNode& node) { return node.addText("t", 1) != nullptr; },
        [](XMLNode& node) { return node.addAttribute("k", "v") != nullptr; },
    };
    for (const Edit edit : edits) {
        // So that the last piece of memory is missing at each step of an edit.
        for (size_t used = 1; used < 1000; used += sizeof(void*)) {
            XMLNode node = XMLNode::parseString("<a><c/><d/><e/><f/></a>");
            XMLNode twin = XMLNode::parseString("<a><c/><d/><e/><f/></a>");
            node.addAttribute("x", std::string(used, 'x').c_str());
            twin.addAttribute("x", std::string(used, 'x').c_str());
            int edited = 0;
            for (const MemoryLimit none(0); edited < kMoreThanFit && edit(node); ++edited) {
            }
            EXPECT_LT(edited, kMoreThanFit);
            for (int i = 0; i < edited; ++i) {
                edit(twin);
            }
            EXPECT_EQ(written(node), written(twin));
            EXPECT_TRUE(edit(node) && edit(twin));
            EXPECT_EQ(written(node), written(twin));
        }
    }
}

}  // namespace
