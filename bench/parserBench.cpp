// What the evaluation of replies costs: 16 MiB of each format, handed over in pieces of three sizes. The reference is a
// bare decoder that goes once through the same stream and knows nothing of states, markers and damage.
#include "bench/Micro.h"
#include "bench/Table.h"
#include "sensor/Crc16.h"
#include "tests/support/OpenRVQ.h"

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kStreamSize = std::size_t{16} << 20;

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
        value += (value & 0xFFU) == 0 ? 1 : 0; // by the sensor's own rule such a frame is out of step
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
    OpenRVQ device;
    device.Parameters().OutputFormat = format;
    device.CommStatus() = DialogueMeasuring;
    device.LastCommand("m"); // the first value has come
    device.CurrentTime() = 46000.0;
    device.FailTime() = 46000.1;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        device.InBuffer() += stream.substr(at, piece);
        device.EvaluateInBuffer();
    }
    device.EvaluateInBuffer(); // an odd line at the end
    return device.MeasValue_mm();
}

struct Format {
    const char* name;
    std::int32_t format;
    std::string stream;
    std::int32_t (*bare)(std::string_view);
    double mostTimes; ///< the aim
};

struct Pieces {
    const char* name;
    std::size_t size;
};
constexpr Pieces kPieces[] = {
    {"pieces of 4 KiB", 4096}, {"pieces of 64 KiB", 65536}, {"in one piece", kStreamSize * 2}};

std::string nameOf(const Format& row, const Pieces& pieces)
{
    return std::string(row.name) + ", " + pieces.name;
}

bool decodeAlike(const Format& row, const Pieces& pieces)
{
    const std::int32_t ours = evaluate(row.stream, row.format, pieces.size);
    const std::int32_t bare = row.bare(row.stream);
    if (ours != bare) {
        std::fprintf(stderr, "%s: the newest value is %d, the bare decoder has %d\n", row.name, ours, bare);
    }
    return ours == bare;
}

void addBenchmarks(const Format& row)
{
    for (const Pieces& pieces : kPieces) {
        benchmark::RegisterBenchmark(nameOf(row, pieces).c_str(), [&row, &pieces](benchmark::State& state) {
            for (auto round : state) {
                benchmark::DoNotOptimize(evaluate(row.stream, row.format, pieces.size));
            }
        });
    }
    benchmark::RegisterBenchmark(row.name, [&row](benchmark::State& state) {
        for (auto round : state) {
            benchmark::DoNotOptimize(row.bare(row.stream));
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<Format> formats = {{"ASCII", FormatAscii, asciiStream(""), bareAscii, 4.0},
                                         {"ASCII+UNIT", FormatAsciiUnit, asciiStream(" m"), bareAscii, 4.0},
                                         {"BINARY", FormatBinary, binaryStream(false), bareBinary, 4.0},
                                         {"BINARY+CRC", FormatBinaryCrc, binaryStream(true), bareCrc, 2.0}};
    for (const Format& row : formats) {
        for (const Pieces& pieces : kPieces) {
            if (!decodeAlike(row, pieces)) {
                return 1;
            }
        }
        addBenchmarks(row);
    }
    auto times = RunBenchmarks(argc, argv);
    for (const Format& row : formats) {
        const double megabytes = static_cast<double>(row.stream.size()) / 1e6;
        for (const Pieces& pieces : kPieces) {
            const double ours = times[nameOf(row, pieces)];
            const double bare = times[row.name];
            TableRow line{.part = "parser",
                          .what = nameOf(row, pieces),
                          .ours = NumberText(megabytes / ours, 0) + " MB/s",
                          .reference = "bare decoder: " + NumberText(megabytes / bare, 0) + " MB/s",
                          .ratio = ours / bare,
                          .aim = {}};
            line.RatioAtMost(row.mostTimes).Print();
        }
    }
    return 0;
}
