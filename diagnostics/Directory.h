#ifndef STALLSCOPE_DIAGNOSTICS_DIRECTORY_H
#define STALLSCOPE_DIAGNOSTICS_DIRECTORY_H

#include <dirent.h>

#include <memory>
#include <string>

namespace android {

// An open directory.
class Directory {
  public:
    explicit Directory(const std::string& path) : mDirectory(opendir(path.c_str())) {}

    bool isOpen() const { return mDirectory != nullptr; }

    // The next entry, "." and ".." included, or null at the end; valid until the next call.
    const dirent* next() { return readdir(mDirectory.get()); }

  private:
    struct Closer {
        void operator()(DIR* directory) const { closedir(directory); }
    };
    std::unique_ptr<DIR, Closer> mDirectory;
};

}  // namespace android

#endif  // STALLSCOPE_DIAGNOSTICS_DIRECTORY_H
