#ifndef STALLSCOPE_TESTS_METHODCALL_H
#define STALLSCOPE_TESTS_METHODCALL_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestSupport.h"
#include "zevo/stallscope/IStallscope.h"

namespace android::test {

using zevo::stallscope::IStallscope;

struct Answer {
    const Texts& operator[](const std::string& list) const;

    binder::Status status;
    std::string result = "nothing";                    // or a number, true, false
    std::vector<std::pair<std::string, Texts>> lists;  // in the order of the parameters
};

// Calls a method by its name and parameters as words, as in {"getTransaction", "1200"}; a comma
// divides the elements of a list. Lists that are handed in empty but for the given ones have names:
// line, java, native, sender, receiver, elapsed, senderPid, receiverPid, visited, peer, cmdline. A
// verdict is true unless the method sets it.
Answer callMethod(IStallscope& service, const Texts& words,
                  std::map<std::string, Texts> given = {});

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_METHODCALL_H
