#ifndef STALLSCOPE_CLIENT_COMPLETION_H
#define STALLSCOPE_CLIENT_COMPLETION_H

#include <string>
#include <vector>

namespace android {

// What can stand in place of the last of words: commands or options, one per line, or the name of
// the operand that belongs there. Empty where nothing can, or nothing can be said.
std::string completion(std::vector<std::string> words);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_COMPLETION_H
