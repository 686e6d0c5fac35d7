#ifndef STALLSCOPE_TESTS_LOGCAPTURE_H
#define STALLSCOPE_TESTS_LOGCAPTURE_H

#include <string>
#include <vector>

namespace android::test {

using Texts = std::vector<std::string>;

// The lines handed to the log library, which the test executable replaces, since the last call and
// by any thread; `priorities` drops the others. A line of the ordinary form shows as its priority,
// function and message, "E parse: Can't open file: log"; one of another tag or log buffer as
// "W 3/tag: text" (3 is the system log).
Texts takeLog(const std::string& priorities = "DIWE");
Texts takeLogWithoutDebug();

// Such lines of one function: "E Can't open file: log" becomes the one above.
Texts loggedBy(const std::string& function, Texts lines);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_LOGCAPTURE_H
