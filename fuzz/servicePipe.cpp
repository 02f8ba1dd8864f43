// What other programs write into the service pipe. The whole input is the text of one read.
#include <cassert>

#include "fuzz/target.h"
#include "packages/vexabind.h"

namespace {

bool isWord(const std::string& text) {
    return !text.empty() && text.find_first_of(std::string_view(" \n\0", 3)) == std::string::npos;
}

/// The tool gets the name as one argument, whatever is in it.
void checkCommand(const std::string& name) {
    const std::vector<std::string> words = installPathCommand(name);
    assert(words.size() == 5 && words[0] == "/sbin/rdconf" && words[3] == "-f");
    if (name.find("ZelvKVM.") == std::string::npos) {
        assert(words[1] == name && words[2] == "Install_Path");
    } else {
        assert(words[1] == "ZelvKVM" && name.ends_with(words[2]));
        assert(words[2].size() + 8 == name.size());
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = fuzz::upToNul(fuzz::textOf(data, size));
    const std::deque<ServiceRequest> requests = parseServiceRequests(fuzz::textOf(data, size));
    assert(requests == parseServiceRequests(text));
    size_t place = 0;
    std::string again = "\n";
    for (const ServiceRequest& request : requests) {
        for (const std::string& word : {request.vexaName, request.action}) {
            assert(isWord(word));
            place = text.find(word, place);
            assert(place != std::string::npos);
            place += word.size();
            again += word + " \n";
        }
        checkCommand(request.vexaName);
    }
    assert(parseServiceRequests(again) == requests);
    // A last word without a partner starts nothing.
    assert(parseServiceRequests(again + "alone") == requests);
    return 0;
}
