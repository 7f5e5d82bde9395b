// The folder fuzz/ feeds the program's readers with hostile bytes. Each target is one function. With libFuzzer, the
// fuzzer drives it; otherwise a replay of the seeds and the cases found so far does, as an ordinary test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Takes the input apart from its beginning; what is missing reads as 0 or empty.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool IsEmpty() const { return m_rest.empty(); }
    std::uint8_t Byte() { return m_rest.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(Bytes(1).front()); }
    std::string_view Bytes(std::size_t count)
    {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }
    /// The text before the next separator, which is consumed too.
    std::string_view Until(char separator)
    {
        const std::string_view taken = m_rest.substr(0, m_rest.find(separator));
        m_rest.remove_prefix(taken.size() + (taken.size() < m_rest.size() ? 1 : 0));
        return taken;
    }
    std::string_view Rest() { return Bytes(m_rest.size()); }

private:
    std::string_view m_rest;
};

/// Ends the run and names the line when a condition that must always hold does not; the fuzzer then keeps the input.
inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (!holds) {
        std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
        std::abort();
    }
}
