// What the evaluation of replies costs: 16 MiB of each format, handed over in pieces of two sizes. The reference is a
// bare decoder that goes once through the same stream and knows nothing of states, markers and damage. The first one
// keeps the newest value alone; that of the samples stores each value with its time, as the evaluation does.
#include "bench/Micro.h"
#include "bench/Table.h"
#include "sensor/Crc16.h"
#include "tests/support/OpenRVQ.h"

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <span>
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

/// What a program would store that does nothing but decode.
struct BareSample {
    double time = 0.0, value = 0.0;
    std::int32_t value_mm = 0;
    MeasurementKind kind = MeasurementKind::Distance;
};
/// Room for all samples of a piece, so that storing one is nothing but that.
struct BareSamples {
    std::vector<BareSample> list;
    std::size_t count = 0;
    void Add(const BareSample& sample) { list[count++] = sample; }
    std::span<const BareSample> All() const { return std::span(list).first(count); }
};

constexpr double kByteTime = 10.0 / 9600 / 86400, kArrived = 46000.0; // days
constexpr double kMillimetres = 1000.0;                               // the unit is the metre

MeasurementKind bareKind(std::int32_t value_mm)
{
    return value_mm == 0 || value_mm == kMarkerNoEcho ? MeasurementKind::NoEcho
           : value_mm == kMarkerTempError             ? MeasurementKind::TempError
                                                      : MeasurementKind::Distance;
}

/// Each of these decodes the whole replies in the piece and returns how many bytes they had.
std::size_t sampleAscii(std::string_view piece, BareSamples& samples)
{
    std::size_t start = 0;
    for (std::size_t i = 0; i < piece.size(); ++i) {
        if (piece[i] != '\n') {
            continue;
        }
        const char* first = piece.data() + start;
        while (*first == ' ') {
            ++first;
        }
        double value = 0.0;
        std::from_chars(first, piece.data() + i, value);
        start = i + 1;
        const auto value_mm = static_cast<std::int32_t>(value * kMillimetres + 0.5);
        const double time = kArrived - static_cast<double>(piece.size() - start) * kByteTime;
        samples.Add({time, value, value_mm, bareKind(value_mm)});
    }
    return start;
}

std::size_t sampleBinary(std::string_view piece, BareSamples& samples)
{
    std::size_t at = 0;
    for (; at + 4 <= piece.size(); at += 4) {
        const std::int32_t value_mm = frameValue(piece, at);
        const double time = kArrived - static_cast<double>(piece.size() - at - 4) * kByteTime;
        samples.Add({time, value_mm / kMillimetres, value_mm, bareKind(value_mm)});
    }
    return at;
}

std::size_t sampleCrc(std::string_view piece, BareSamples& samples)
{
    std::size_t at = 0;
    for (; at + 6 <= piece.size(); at += 6) {
        if (Crc16(piece.substr(at, 6), 0xFFFFFFFF) != 0) {
            continue;
        }
        const std::int32_t value_mm = frameValue(piece, at);
        const double time = kArrived - static_cast<double>(piece.size() - at - 6) * kByteTime;
        samples.Add({time, value_mm / kMillimetres, value_mm, bareKind(value_mm)});
    }
    return at;
}

/// The number of samples and their sum in millimetres.
struct Total {
    std::int64_t count = 0, sum_mm = 0;
    bool operator==(const Total&) const = default;
    template <typename Samples>
    void Add(const Samples& samples)
    {
        count += static_cast<std::int64_t>(samples.size());
        for (const auto& sample : samples) {
            sum_mm += sample.value_mm;
        }
    }
};

using SampleDecoder = std::size_t (*)(std::string_view piece, BareSamples& samples);

/// The bytes behind the last whole reply of a piece are copied in front of the next one, as in our buffer.
Total bareSamples(std::string_view stream, SampleDecoder decode, std::size_t piece)
{
    Total total;
    std::string buffer;
    BareSamples samples{.list = std::vector<BareSample>(piece)};
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        buffer += stream.substr(at, piece);
        samples.count = 0;
        buffer.erase(0, decode(buffer, samples));
        total.Add(samples.All());
    }
    return total;
}

/// A device that measures, and has got its first value.
struct Measuring : OpenRVQ {
    explicit Measuring(std::int32_t format)
    {
        Parameters().OutputFormat = format;
        CommStatus() = DialogueMeasuring;
        LastCommand("m");
        CurrentTime() = kArrived;
        FailTime() = kArrived + 0.1;
    }
};

std::int32_t evaluate(std::string_view stream, std::int32_t format, std::size_t piece)
{
    Measuring device(format);
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        device.InBuffer() += stream.substr(at, piece);
        device.EvaluateInBuffer();
    }
    device.EvaluateInBuffer(); // an odd line at the end
    return device.MeasValue_mm();
}

Total ourSamples(std::string_view stream, std::int32_t format, std::size_t piece)
{
    Measuring device(format);
    Total total;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        device.InBuffer() += stream.substr(at, piece);
        device.EvaluateInBuffer();
        total.Add(device.Samples());
    }
    device.EvaluateInBuffer(); // an odd line at the end
    total.Add(device.Samples());
    return total;
}

struct Format {
    const char* name;
    std::int32_t format;
    std::string stream;
    std::int32_t (*bare)(std::string_view);
    SampleDecoder bareSamples;
    double mostTimes; ///< the aim
};
constexpr double kMostTimesForSamples = 2.0;

struct Pieces {
    const char* name;
    std::size_t size;
};
constexpr Pieces kPieces[] = {{"pieces of 4 KiB", 4096}, {"pieces of 64 KiB", 65536}}; // 64 KiB are the most that wait

std::string samplesOf(const Format& row)
{
    return std::string("samples, ") + row.name + ", " + kPieces[0].name;
}

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

bool sampleAlike(const Format& row)
{
    const Total ours = ourSamples(row.stream, row.format, kPieces[0].size);
    const Total bare = bareSamples(row.stream, row.bareSamples, kPieces[0].size);
    if (ours != bare) {
        std::fprintf(stderr, "%s: %lld samples, the bare decoder has %lld\n", row.name,
                     static_cast<long long>(ours.count), static_cast<long long>(bare.count));
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
    benchmark::RegisterBenchmark(samplesOf(row).c_str(), [&row](benchmark::State& state) {
        for (auto round : state) {
            benchmark::DoNotOptimize(ourSamples(row.stream, row.format, kPieces[0].size));
        }
    });
    benchmark::RegisterBenchmark((samplesOf(row) + ", bare").c_str(), [&row](benchmark::State& state) {
        for (auto round : state) {
            benchmark::DoNotOptimize(bareSamples(row.stream, row.bareSamples, kPieces[0].size));
        }
    });
}

/// Our time beside that of the reference.
void printRow(const Format& row, const std::string& what, double ours, double bare, double mostTimes)
{
    const double megabytes = static_cast<double>(row.stream.size()) / 1e6;
    TableRow line{.part = "parser",
                  .what = what,
                  .ours = NumberText(megabytes / ours, 0) + " MB/s",
                  .reference = "bare decoder: " + NumberText(megabytes / bare, 0) + " MB/s",
                  .ratio = ours / bare,
                  .aim = {}};
    line.RatioAtMost(mostTimes).Print();
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<Format> formats = {
        {"ASCII", FormatAscii, asciiStream(""), bareAscii, sampleAscii, 4.0},
        {"ASCII+UNIT", FormatAsciiUnit, asciiStream(" m"), bareAscii, sampleAscii, 4.0},
        {"BINARY", FormatBinary, binaryStream(false), bareBinary, sampleBinary, 4.0},
        {"BINARY+CRC", FormatBinaryCrc, binaryStream(true), bareCrc, sampleCrc, 2.0}};
    for (const Format& row : formats) {
        for (const Pieces& pieces : kPieces) {
            if (!decodeAlike(row, pieces)) {
                return 1;
            }
        }
        if (!sampleAlike(row)) {
            return 1;
        }
        addBenchmarks(row);
    }
    auto times = RunBenchmarks(argc, argv);
    for (const Format& row : formats) {
        for (const Pieces& pieces : kPieces) {
            printRow(row, nameOf(row, pieces), times[nameOf(row, pieces)], times[row.name], row.mostTimes);
        }
        printRow(row, samplesOf(row), times[samplesOf(row)], times[samplesOf(row) + ", bare"], kMostTimesForSamples);
    }
    return 0;
}
