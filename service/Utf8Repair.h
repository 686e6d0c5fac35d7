#ifndef STALLSCOPE_SERVICE_UTF8REPAIR_H
#define STALLSCOPE_SERVICE_UTF8REPAIR_H

#include <initializer_list>
#include <string>
#include <vector>

namespace android {

// Replaces every byte that is not part of a well-formed UTF-8 sequence by U+FFFD; valid text stays
// as it is.
std::string repairUtf8(const std::string& text);

// The same for every text of the lists, null ones skipped. A process may give itself any name, and
// the stub refuses a whole reply for one text that it can't convert.
void repairUtf8(std::initializer_list<std::vector<std::string>*> lists);

}  // namespace android

#endif  // STALLSCOPE_SERVICE_UTF8REPAIR_H
