// Standard output towards readers that are slow, stop, or go.
#include "base/FileHandle.h"
#include "base/modAPI.h"
#include "cli/clsOutput.h"
#include "cli/clsProgram.h"
#include "tests/support/TemporaryFolder.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

struct Channel {
    const char* name;
    bool isSocket;
};
constexpr Channel kChannels[] = {{"pipe", false}, {"socket", true}};

bool isNonBlocking(int descriptor)
{
    return (fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

TEST(Output, WaitsForNobodyAndLosesNothing)
{
    std::signal(SIGPIPE, SIG_IGN);
    for (const Channel& channel : kChannels) {
        int ends[2];
        ASSERT_EQ(channel.isSocket ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends), 0);
        clsOutput output(ends[1]);
        const std::string line(999, 'x');
        constexpr std::size_t kLines = 2000; // more than either takes
        for (std::size_t i = 0; i < kLines; ++i) {
            output.Print(line);
            output.Serve();
        }
        EXPECT_GT(output.Waiting(), 0U) << channel.name;
        EXPECT_FALSE(isNonBlocking(ends[1])) << "others have this " << channel.name << ", too";
        std::string read_(kLines * 1000, '\0');
        std::size_t count = 0;
        while (count < read_.size()) {
            const ssize_t now = read(ends[0], read_.data() + count, read_.size() - count);
            ASSERT_GT(now, 0);
            count += static_cast<std::size_t>(now);
            output.Serve();
        }
        EXPECT_EQ(read_.find_first_not_of("x\n"), std::string::npos);
        EXPECT_EQ(read_.find('\n', 999 * 1000 + 999), 1000U * 999 + 999);
        EXPECT_EQ(output.Waiting(), 0U);
        EXPECT_EQ(output.Dropped(), 0);
        close(ends[0]);
        output.Print("for nobody");
        output.Serve();
        EXPECT_TRUE(output.HasNoReader()) << channel.name;
        close(ends[1]);
    }
}

TEST(Output, AFileGetsItsLinesInLargerPiecesAndAllOfThemAtTheEnd)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "values";
    const FileHandle handle(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    clsOutput output(handle.Descriptor());
    int grown = 0;
    std::uintmax_t size = 0;
    for (int tick = 0; tick < 40; ++tick) {
        output.Print("a value");
        output.Serve();
        grown += std::exchange(size, std::filesystem::file_size(file)) != std::filesystem::file_size(file) ? 1 : 0;
    }
    EXPECT_EQ(grown, 4) << "two seconds of ticks";
    output.Print("the last one");
    output.FinishWithin(1.0);
    EXPECT_EQ(std::filesystem::file_size(file), 40U * 8 + 13);
}

TEST(Output, CountsTheWholeLinesThatItHasNoRoomFor)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    clsOutput output(ends[1], 25);
    for (const char* line : {"123456789", "123456789", "123456789", "1234"}) {
        output.Print(line);
    }
    EXPECT_EQ(output.Dropped(), 1);
    output.Finish([] { return true; });
    std::string bytes(100, '\0');
    bytes.resize(static_cast<std::size_t>(read(ends[0], bytes.data(), bytes.size())));
    EXPECT_EQ(bytes, "123456789\n123456789\n1234\n");
    close(ends[0]);
    close(ends[1]);
}

TEST(Output, SeesThatItsReaderHasGoneWithoutWriting)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    clsOutput output(ends[1]);
    close(ends[0]);
    for (int tick = 0; tick < 20; ++tick) {
        output.Serve();
    }
    EXPECT_TRUE(output.HasNoReader());
    close(ends[1]);
}

TEST(Output, SaysWhyItEnds)
{
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    clsOutput output(full);
    output.Print("x");
    output.Serve();
    EXPECT_EQ(output.Failure(), std::errc::no_space_on_device);
    EXPECT_FALSE(output.HasNoReader());
    close(full);
}

/// Puts a pipe in the place of standard output or standard error.
class StandInPipe {
public:
    explicit StandInPipe(int descriptor) : m_descriptor(descriptor), m_own(dup(descriptor))
    {
        EXPECT_EQ(pipe(m_ends), 0);
        dup2(m_ends[1], descriptor);
    }
    ~StandInPipe()
    {
        dup2(m_own, m_descriptor);
        for (const int end : {m_own, m_ends[0], m_ends[1]}) {
            close(end);
        }
    }
    StandInPipe(const StandInPipe&) = delete;
    StandInPipe& operator=(const StandInPipe&) = delete;

    void Fill()
    {
        fcntl(m_ends[1], F_SETFL, O_NONBLOCK);
        while (write(m_ends[1], "x", 1) == 1) {
        }
        fcntl(m_ends[1], F_SETFL, 0);
    }
    void CloseReader() { close(std::exchange(m_ends[0], -1)); }

private:
    int m_descriptor, m_own;
    int m_ends[2]{};
};

TEST(Program, IsNotHeldUpByMessagesThatNobodyReads)
{
    StandInPipe messages(STDERR_FILENO);
    messages.Fill();
    clsProgram program(clsArguments({}, GlobalOptions(), true));
    const double begin_s = modAPI::UpTime_s();
    program.Say("a line");
    program.Note("another");
    program.Serve();
    EXPECT_LT(modAPI::UpTime_s() - begin_s, 1.0);
    EXPECT_EQ(program.Finish(ExitRefused), ExitRefused);
    EXPECT_LT(modAPI::UpTime_s() - begin_s, 10.0);
}

TEST(Program, AReaderThatHasGoneExcusesOnlyACommandThatEndedForIt)
{
    std::signal(SIGPIPE, SIG_IGN);
    for (const auto& [code, ended] : {std::pair(ExitOutputClosed, ExitDone),
                                      {ExitFailed, ExitFailed},
                                      {ExitRefused, ExitRefused},
                                      {ExitNoConnection, ExitNoConnection}}) {
        StandInPipe data(STDOUT_FILENO);
        data.CloseReader();
        clsProgram program(clsArguments({}, GlobalOptions(), true));
        program.Print("for nobody");
        EXPECT_EQ(program.Finish(code), ended);
    }
}

} // namespace
