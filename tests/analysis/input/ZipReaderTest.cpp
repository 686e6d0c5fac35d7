#include "analysis/input/ZipReader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/analysis/input/Describe.h"
#include "tests/analysis/input/ZipWriter.h"

namespace stallscope {
namespace {

std::string read(const std::string& bytes, Snapshot* snapshot) {
    snapshot->sources = {"report.zip"};
    return readZip(bytesOf(bytes), snapshot);
}

std::string read(const std::string& bytes) {
    Snapshot snapshot;
    std::string error = read(bytes, &snapshot);
    return error.empty() ? describe(snapshot) : error;
}

std::string report(int pid) {
    return "== dumpstate: 2023-05-04 10:11:12\n------ BINDER TRANSACTIONS (x) ------\nproc " +
           std::to_string(pid) + "\n";
}

const std::string kDump =
        "Subject: x\n"
        "----- pid 7 at 2023-05-04 10:11:13.5+0200 -----\n"
        "\"main\" prio=5 tid=1 Native\n"
        "----- end 7 -----\n";
const std::string kLater = "----- pid 8 at 2023-05-04 10:13:13 -----\n";

TEST(ZipReader, ReadsTheTextAndTheDumps) {
    std::string bytes = zip({{"version.txt", "2.0"},
                             {"FS/data/anr/anr_1", kDump},
                             {"FS/data/anr/old/anr_0", kLater},
                             {"FS/data/anr/trace.pb", std::string(9, '\0')},
                             {"FS/data/tombstones/t", kDump},
                             {"dumpstate_log.txt", std::string(999, 'x')},
                             {"bugreport.txt", report(3)},
                             {"main_entry.txt", "bugreport.txt\n"}});
    EXPECT_TRUE(looksLikeZip(bytes));
    EXPECT_EQ(
            "log 3: complete\nmoment 1683195072\n"
            "dump 7 now threads 1 @FS/data/anr/anr_1:2\n"
            "dump 8 threads 0 @FS/data/anr/old/anr_0:1\nskipped 0\n",
            read(bytes));
    Snapshot snapshot;
    EXPECT_EQ("", read(bytes, &snapshot));
    EXPECT_EQ("Subject: x", snapshot.lineAt({1, 1}));
    EXPECT_EQ(8U, snapshot.lines.lines());
}

TEST(ZipReader, FindsTheTextWithoutBeingTold) {
    std::string picture(9999, '\0');
    std::string log3 = "log 3: complete\nmoment 1683195072\nskipped 0\n";
    EXPECT_EQ(log3, read(zip({{"a.png", picture}, {"a.txt", "x"}, {"b", report(3)}})));
    EXPECT_EQ(log3,
              read(zip({{"r/version.txt", "2"}, {"r/b.txt", report(3)}, {"r/c/d", picture}})));
    EXPECT_EQ(
            "log 3: complete\nmoment 1683195072\n"
            "note main_entry.txt names a text that is not in the zip: b.txt was read instead.\n"
            "skipped 0\n",
            read(zip({{"main_entry.txt", "x.txt"}, {"b.txt", report(3)}})));
    // the dump that stands in the text too
    EXPECT_EQ("log 3: complete\nmoment 1683195072\ndump 7 now threads 1 @5\nskipped 0\n",
              read(zip({{"FS/data/anr/anr_1", kDump},
                        {"b.txt", report(3) + "------ VM TRACES AT LAST ANR (x) ------\n" +
                                          kDump.substr(kDump.find('-'))}})));
}

TEST(ZipReader, SaysWhatIsWrong) {
    EXPECT_EQ(
            "has no text file at its top level, so it is no bug report: unpack it and give the "
            "files in it",
            read(zip({{"a/b/c.txt", report(3)}, {"d.bin", std::string(9, '\0')}})));
    EXPECT_EQ("is encrypted: unpack it and give the text in it",
              read(zip({{"b.txt", report(3)}}, "secret")));
    EXPECT_EQ(0U, read("PK\3\4").find("is damaged"));
    EXPECT_EQ(0U, read("PK\3\4 and so on").find("is damaged"));
}

// A zip that was cut short has no directory: what is there is read all the same.
TEST(ZipReader, ReadsWhatIsLeft) {
    std::string filler(1, '\0');
    for (int i = 0; i < 9999; ++i) {
        filler += std::to_string(i * i);
    }
    std::string bytes = zip({{"b.txt", report(3)}, {"c.bin", filler}});
    for (size_t size = bytes.size(); size > 0; size -= std::min<size_t>(size, 997)) {
        std::string answer = read(bytes.substr(0, size));
        bool isRead = answer.find("log 3: complete\n") == 0;
        EXPECT_TRUE(isRead || size < 300) << size << answer;
    }
    bytes[bytes.find("b.txt") + 30] ^= 1;
    EXPECT_NE(std::string::npos, read(bytes).find("damaged")) << read(bytes);
}

}  // namespace
}  // namespace stallscope
