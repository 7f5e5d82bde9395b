#include "cli/modQuestion.h"

#include "base/PlainText.h"
#include "cli/clsProgram.h"
#include "cli/modSignals.h"

#include <cctype>
#include <cerrno>
#include <optional>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace modQuestion {

namespace {

constexpr int kLook_ms = 200; // for a signal

void show(clsProgram& program, std::string_view text)
{
    program.Messages().Write(Printable(text));
    program.Messages().Finish([] { return !modSignals::EndIsWanted(); });
}

/// A line of the terminal, which hands over whole lines; nothing at its end.
std::optional<std::string> readLine()
{
    std::string line;
    while (!modSignals::EndIsWanted()) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, kLook_ms) <= 0) {
            continue;
        }
        char c = 0;
        const ssize_t count = read(STDIN_FILENO, &c, 1);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return std::nullopt;
        }
        if (count > 0 && c == '\n') {
            return line;
        }
        line.append(static_cast<std::size_t>(count > 0 ? 1 : 0), c);
    }
    return std::nullopt;
}

char lowered(char c)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

/// The letters in brackets.
std::string lettersOf(std::string_view question)
{
    std::string letters;
    for (std::size_t at = question.find('['); at != question.npos; at = question.find('[', at + 1)) {
        letters += lowered(question.at(at + 1));
    }
    return letters;
}

} // namespace

bool IsPossible()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

std::size_t Ask(clsProgram& program, TextId question)
{
    const std::string text = program.Text(question);
    const std::string letters = lettersOf(text);
    program.Progress().End();
    while (true) {
        show(program, text);
        const auto line = readLine();
        if (!line) {
            show(program, "\n");
            return 0;
        }
        const std::size_t first = line->find_first_not_of(" \t");
        const std::size_t answer = first == line->npos ? line->npos : letters.find(lowered((*line)[first]));
        if (answer != letters.npos) {
            return answer;
        }
    }
}

bool YesOrNo(clsProgram& program)
{
    return Ask(program, TextId::CliQuestionYesNo) == 1;
}

} // namespace modQuestion
