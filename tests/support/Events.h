#ifndef STALLSCOPE_TESTS_EVENTS_H
#define STALLSCOPE_TESTS_EVENTS_H

#include <string>

#include "tests/support/TestSupport.h"

namespace android::test {

// What the code under test does to the world, in order and by whatever thread:
//   E parse: Can't open file: log     a log line of the ordinary form: priority, function, message
//   W 3/tag: text                     one of another log buffer (3 is the system log) or with a tag
//   reads 41/cmdline 41/comm          files opened to read them; those below /proc without that
//   opens FILE WRONLY CREAT ... 0666  a file opened with other flags
//   captures java 41 for 5 s          what the debugger daemon is asked for
//   fsync, holding 1                  or fdatasync, with so many descriptors open
void addEvent(const std::string& event);

// Those since the last call that begin with one of these letters; the others are dropped.
Texts takeEvents(const std::string& starts = "DIWErocf");
// The log lines but for DEBUG.
Texts takeLog();

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_EVENTS_H
