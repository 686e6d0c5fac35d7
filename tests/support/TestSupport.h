#ifndef STALLSCOPE_TESTS_TESTSUPPORT_H
#define STALLSCOPE_TESTS_TESTSUPPORT_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// What tests of every kind need: on the host, in the guest, of the daemon and of captures.

namespace android::test {

using Texts = std::vector<std::string>;

// The path of one of tests/, such as "data/records.txt"; a platform's build puts those that a test
// names beside its program.
std::string testFile(const std::string& name);
// Empty when it can't be read, as with a process that has gone.
std::string readFile(const std::string& path);
// Makes the file's folder when it is missing.
void writeFile(const std::string& path, const std::string& text);
Texts linesOf(const std::string& text);
// The files in tests/data write \r \n \v \f \t \0 \\, \s for a blank, and \x and two digits for a
// byte.
std::string unescape(const std::string& text);
// How often it occurs.
size_t count(const std::string& text, const std::string& part);

// Whether it comes true in time.
bool eventually(const std::function<bool()>& isTrue, int seconds = 30);
// What the shell command writes to its output, without the last line end.
std::string outputOf(const std::string& shellCommand);
// This machine's architecture as captures name it.
std::string abiName();

// "/proc/PID/NAME", for a thread as well.
std::string procFile(pid_t pid, const std::string& name);
// A field of its status, such as "S (sleeping)"; empty when it has gone.
std::string statusOf(pid_t pid, const std::string& field);

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_TESTSUPPORT_H
