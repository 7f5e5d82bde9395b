// What the evaluation of replies costs: 16 MiB of each format, handed over in pieces of three sizes, against a bare
// decoder that walks once over the same stream and knows nothing of states, markers and damage. Both sides run in turn
// in the same process; the table shows medians.
#include "device/Crc16.h"
#include "device/clsRVQ.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kStreamSize = std::size_t{16} << 20;
constexpr int kRounds = 11;

std::string asciiStream(const char* unit)
{
    std::string stream;
    for (int i = 0; stream.size() < kStreamSize; ++i) {
        std::array<char, 48> line{};
        std::snprintf(line.data(), line.size(), "%12.3f%s\r\n", 2.0 + i % 8000 / 1000.0, unit);
        stream += line.data();
    }
    return stream;
}

std::string binaryStream(bool withCrc)
{
    std::string stream;
    for (std::uint32_t i = 0; stream.size() < kStreamSize; ++i) {
        std::uint32_t value = 2000 + i % 8000;
        value += (value & 0xFFU) == 0 ? 1 : 0; // such a frame is out of step by the sensor's own rule
        std::string frame{static_cast<char>(value), static_cast<char>(value >> 8U), '\0', '\0'};
        if (withCrc) {
            const std::uint16_t crc = Crc16(frame, 0xFFFFFFFF);
            frame += {static_cast<char>(crc & 0xFFU), static_cast<char>(crc >> 8U)};
        }
        stream += frame;
    }
    return stream;
}

/// Each bare decoder returns the newest value in millimetres.
std::int32_t bareAscii(std::string_view stream)
{
    double newest = 0.0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < stream.size(); ++i) {
        if (stream[i] != '\n') {
            continue;
        }
        const char* first = stream.data() + start;
        while (*first == ' ') {
            ++first;
        }
        std::from_chars(first, stream.data() + i, newest);
        start = i + 1;
    }
    return static_cast<std::int32_t>(newest * 1000.0 + 0.5);
}

std::int32_t frameValue(std::string_view stream, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(stream[at + i]); };
    return byte(0) | byte(1) << 8 | byte(2) << 16 |
           static_cast<std::int32_t>(static_cast<std::uint32_t>(byte(3)) << 24);
}

std::int32_t bareBinary(std::string_view stream)
{
    std::int32_t newest = 0;
    for (std::size_t at = 0; at + 4 <= stream.size(); at += 4) {
        const std::int32_t value = frameValue(stream, at);
        if (value != 0) {
            newest = value;
        }
    }
    return newest;
}

std::int32_t bareCrc(std::string_view stream)
{
    std::int32_t newest = 0;
    for (std::size_t at = 0; at + 6 <= stream.size(); at += 6) {
        if (Crc16(stream.substr(at, 6), 0xFFFFFFFF) == 0) {
            newest = frameValue(stream, at);
        }
    }
    return newest;
}

std::int32_t evaluate(std::string_view stream, std::int32_t format, std::size_t piece)
{
    clsRVQ device;
    device.OutputFormat = format;
    device.CommStatus = DialogueMeasuring;
    device.LastCommand = std::string("m"); // the first value has come
    device.CurrentTime = 46000.0;
    device.FailTime = 46000.1;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        device.InBuffer += stream.substr(at, piece);
        device.EvaluateInBuffer();
    }
    device.EvaluateInBuffer(); // an odd line at the end
    return device.MeasValue_mm;
}

double secondsOf(const std::function<std::int32_t()>& work, std::int32_t& result)
{
    const auto start = std::chrono::steady_clock::now();
    result = work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

struct Row {
    const char* name;
    std::int32_t format;
    std::string stream;
    std::int32_t (*bare)(std::string_view);
};

void compare(const Row& row, std::size_t piece)
{
    std::vector<double> ours, bare;
    std::int32_t ourValue = 0, bareValue = 0;
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(secondsOf([&] { return evaluate(row.stream, row.format, piece); }, ourValue));
        bare.push_back(secondsOf([&] { return row.bare(row.stream); }, bareValue));
    }
    if (ourValue != bareValue) {
        std::fprintf(stderr, "%s: the newest value is %d, the bare decoder has %d\n", row.name, ourValue, bareValue);
        std::exit(1);
    }
    const double megabytes = static_cast<double>(row.stream.size()) / 1e6;
    const std::string size = piece >= row.stream.size() ? "all" : std::to_string(piece >> 10U) + " KiB";
    std::printf("%-12s %8s %10.0f %10.0f %8.2f\n", row.name, size.c_str(), megabytes / median(ours),
                megabytes / median(bare), median(ours) / median(bare));
}

} // namespace

int main()
{
    const std::vector<Row> rows = {{"ASCII", FormatAscii, asciiStream(""), bareAscii},
                                   {"ASCII+UNIT", FormatAsciiUnit, asciiStream(" m"), bareAscii},
                                   {"BINARY", FormatBinary, binaryStream(false), bareBinary},
                                   {"BINARY+CRC", FormatBinaryCrc, binaryStream(true), bareCrc}};
    std::printf("%-12s %8s %10s %10s %8s\n", "format", "pieces", "MB/s", "bare MB/s", "times");
    for (const Row& row : rows) {
        for (const std::size_t piece : {std::size_t{4} << 10, std::size_t{64} << 10, row.stream.size()}) {
            compare(row, piece);
        }
    }
    return 0;
}
