#ifndef STALLSCOPE_TESTS_ANALYSIS_INPUT_ZIPWRITER_H
#define STALLSCOPE_TESTS_ANALYSIS_INPUT_ZIPWRITER_H

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <vector>

namespace stallscope {

struct ZipFile {
    std::string name;
    std::string text;
};

// A zip of the files; with a password, they are encrypted.
inline std::string zip(const std::vector<ZipFile>& files, const char* password = nullptr) {
    std::string bytes(1 << 20, '\0');
    size_t used = 0;
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    archive_write_set_bytes_in_last_block(writer, 1);
    if (password != nullptr) {
        archive_write_set_options(writer, "zip:encryption=aes128");
        archive_write_set_passphrase(writer, password);
    }
    archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    for (const ZipFile& each : files) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, each.name.c_str());
        archive_entry_set_size(entry, static_cast<la_int64_t>(each.text.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_write_header(writer, entry);
        archive_write_data(writer, each.text.data(), each.text.size());
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

}  // namespace stallscope

#endif  // STALLSCOPE_TESTS_ANALYSIS_INPUT_ZIPWRITER_H
