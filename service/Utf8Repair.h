#ifndef STALLSCOPE_SERVICE_UTF8REPAIR_H
#define STALLSCOPE_SERVICE_UTF8REPAIR_H

#include <cstddef>
#include <string>
#include <vector>

namespace android {

// A process may give itself any name, and libbinder refuses a whole reply for one text that ends in
// the middle of a UTF-8 sequence, by the length that the sequence's first byte announces. Other
// bytes that are no UTF-8 get through and are none of our business.

// Replaces each byte of a sequence that the end of the text cuts off by U+FFFD.
std::string repairEnd(const std::string& text);

// What is appended to a list from the construction of this object on; what stood there before is
// the caller's own. The list may be null.
class AppendedTexts {
  public:
    explicit AppendedTexts(std::vector<std::string>* list)
          : mList(list), mFirst(list == nullptr ? 0 : list->size()) {}

    void repairEnds() const;

  private:
    std::vector<std::string>* mList;
    size_t mFirst;
};

}  // namespace android

#endif  // STALLSCOPE_SERVICE_UTF8REPAIR_H
