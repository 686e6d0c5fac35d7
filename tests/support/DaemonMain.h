#ifndef STALLSCOPE_TESTS_DAEMONMAIN_H
#define STALLSCOPE_TESTS_DAEMONMAIN_H

// Included before service/main.cpp: gives its main function another symbol, so that a test, which
// has a main of its own, can call it. Its name in log lines stays.
extern "C" int main() __asm__("daemonMain");

#endif  // STALLSCOPE_TESTS_DAEMONMAIN_H
