#ifndef STALLSCOPE_DIAGNOSTICS_PROCFILE_H
#define STALLSCOPE_DIAGNOSTICS_PROCFILE_H

#include <string>

namespace android {

enum class ReadResult {
    CannotOpen,
    Nothing,  // end of file before the first character
    Text,
};

// Reads a file up to, not including, the first `delimiter`, or to its end, which a read error
// counts as. `text` is replaced unless the file can't be opened.
ReadResult readUpTo(const char* path, char delimiter, std::string* text);

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_PROCFILE_H
