// One line on the terminal of standard error that says what takes so long. Without a terminal there is none.
#pragma once

#include <string>
#include <string_view>

class clsOutput;

class clsProgress {
public:
    /// `output` is standard error, which must outlive it. `wanted`: false shows nothing.
    clsProgress(clsOutput& output, bool wanted);
    ~clsProgress() { End(); }
    clsProgress(const clsProgress&) = delete;
    clsProgress& operator=(const clsProgress&) = delete;

    /// What is under way now, UTF-8. It shows once the work has taken a second. Call it as often as you like.
    void Show(std::string_view text);
    /// Whether there is a terminal to show it on.
    bool IsPossible() const { return m_isPossible; }
    /// Takes the line away; the next `Show` begins other work.
    void End();

private:
    void write(std::string_view text);

    clsOutput& m_output;
    bool m_isPossible;
    bool m_isShown = false;
    double m_begin_s = 0.0; ///< 0: no work is under way
    double m_shown_s = 0.0;
    std::string m_text;
};
