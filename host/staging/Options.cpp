#include <cstdlib>
#include <iostream>

#include "host/staging/Stage.h"

namespace stage {

Action::Action(const std::string& text) : verb(text.substr(0, text.find(':'))) {
    const size_t first = text.find(':');
    if (first == std::string::npos) {
        return;
    }
    const size_t second = text.find(':', first + 1);
    target = text.substr(first + 1, second - first - 1);
    if (second != std::string::npos) {
        count = atoi(&text[second + 1]);
    }
}

bool Options::parse(int argc, char** argv) {
    mValues = {{"cmdline", argv[0]},  {"thread-name", ""}, {"adj", ""},       {"serve", ""},
               {"threads", "1"},      {"on-call", "park"}, {"park-ms", "-1"}, {"main", "idle"},
               {"idle-threads", "0"}, {"code", "1"},       {"delay-ms", "0"}, {"hold-lock", "0"},
               {"heir", "0"},         {"gate", ""}};
    for (int i = 1; i < argc; i += 2) {
        const std::string key = std::string(argv[i]).substr(0, 2) == "--" ? argv[i] + 2 : "";
        if (i + 1 == argc || (key != "extra-thread" && mValues.count(key) == 0)) {
            std::cerr << "stage_process: can't use " << argv[i] << "; README.md lists the knobs, "
                      << "each with a value\n";
            return false;
        }
        if (key == "extra-thread") {
            mThreads.emplace_back(argv[i + 1]);
        } else {
            mValues[key] = argv[i + 1];
        }
    }
    return true;
}

const std::string& Options::text(const std::string& key) const {
    return mValues.at(key);
}

int Options::number(const std::string& key) const {
    return atoi(text(key).c_str());
}

uint32_t Options::code() const {
    return static_cast<uint32_t>(strtoul(text("code").c_str(), nullptr, 16));
}

}  // namespace stage
