// Parts of the capture process whose ends a whole capture seldom reaches.

#include "host/debuggerd/DumpFile.h"
#include "host/debuggerd/ProcFile.h"
#include "tests/debuggerd/Target.h"

namespace android::test {
namespace {

TEST(DumpFile, NothingIsWrittenBehindAFailedWrite) {
    const TemporaryFile file;
    const int fd = open("/dev/full", O_WRONLY);
    debuggerd::DumpFile dump(fd, debuggerd::Deadline::after(std::chrono::seconds(1)));
    dump.append(std::string(100'000, 'x'));
    dup2(file.fd, fd);
    dump.append("behind");
    EXPECT_FALSE(dump.flush());
    EXPECT_EQ("", readFile(file.path));
    close(fd);
}

TEST(ProcFile, CommandLineIsOneLineOfSomeLength) {
    const std::string longText(9000, 'x');
    for (const char* last : {"y", longText.c_str()}) {
        const Target target([last] {
            Target::ready();
            execlp("sh", "s\x7fh\n", "-c", "kill -STOP $$", last, nullptr);
        });
        const std::string line = ("s h  -c kill -STOP $$ " + std::string(last)).substr(0, 4096);
        EXPECT_TRUE(eventually([&] { return debuggerd::commandLine(target.pid()) == line; }));
        kill(target.pid(), SIGKILL);
        EXPECT_TRUE(target.reachesState('Z'));
        EXPECT_EQ("<unknown>", debuggerd::commandLine(target.pid()));
    }
}

}  // namespace
}  // namespace android::test
