// What `--print` and `--every` print.
#include "app/Output.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/clsScriptedPort.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// What is printed of a tick with three samples and of a recording that is played after it.
std::string printed(bool everySample)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    {
        Output output(everySample, ends[1]);
        const Measurement samples[] = {{.value = 1.25, .value_mm = 1250, .unit = 1, .outputFormat = 1},
                                       {.value = 0.0, .value_mm = kMarkerNoEcho, .unit = 1, .outputFormat = 1},
                                       {.value = 1.5, .value_mm = 1500, .unit = 1, .outputFormat = 1}};
        output.Sampled(samples, {});
        output.Measured(samples[2], {});
        const TemporaryFolder folder;
        const modGlobals::Settings settings;
        clsSession session(std::make_unique<clsScriptedPort>(), settings, folder.path, '.');
        session.Listen(output);
        EXPECT_EQ(
            session.Play(folder.Write("a.rec", "15.11.2026 12:00:00,000; 9000 mm; 21 C\n"), [](double) { return true; })
                .lines,
            1);
        session.Leave(output);
    }
    close(ends[1]);
    std::string text(100, '\0');
    text.resize(static_cast<std::size_t>(std::max(read(ends[0], text.data(), text.size()), ssize_t{0})));
    close(ends[0]);
    return text;
}

TEST(Output, PrintsTheNewestOrEverySampleAndNothingThatIsPlayed)
{
    EXPECT_EQ(printed(false), "1.500 m\n");
    EXPECT_EQ(printed(true), "1.250 m\nNo Echo\n1.500 m\n");
}

} // namespace
