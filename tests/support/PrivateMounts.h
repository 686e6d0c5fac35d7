#ifndef STALLSCOPE_TESTS_PRIVATEMOUNTS_H
#define STALLSCOPE_TESTS_PRIVATEMOUNTS_H

namespace android::test {

// Gives the process a mount namespace of its own with an empty /proc and a /dev that holds little
// but the binder log's folder, so that tests declare every process there is. Works as an ordinary
// user where user namespaces are available; ends the process with a reason where nothing works. To
// be called before any thread exists.
void enterPrivateMounts();

// Puts the real /proc back; the sanitizers want it at exit.
void leavePrivateMounts();

}  // namespace android::test

#endif  // STALLSCOPE_TESTS_PRIVATEMOUNTS_H
