#ifndef STALLSCOPE_DIAGNOSTICS_LINEWRITER_H
#define STALLSCOPE_DIAGNOSTICS_LINEWRITER_H

#include <android-base/unique_fd.h>

#include <string>

namespace android {

// A file that is written line by line, unbuffered: what was written is in the file whatever happens
// to the daemon next. The file is created if it is missing; its directory is not. A FIFO that
// nobody reads can't be opened.
class LineWriter {
  public:
    enum class Mode { Replace, Append };

    LineWriter(const std::string& file, Mode mode);

    bool isOpen() const { return mFile.get() >= 0; }

    // Writes the line and a line end. After a first failure nothing more is written, so that no
    // line stands in the file behind a gap.
    void writeLine(const std::string& line);

  private:
    base::unique_fd mFile;
    bool mHasFailed = false;
};

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_LINEWRITER_H
