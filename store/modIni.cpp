#include "store/modIni.h"

#include "base/Numbers.h"
#include "base/modFiles.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace modIni {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kMostNuls = 4; // one byte in this many; in UTF-16 with our letters it is every second one
// Of other control characters these and one byte in so many; random bytes have one in nine.
constexpr std::size_t kFewControls = 4, kMostControls = 16;

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Where a section and a key in it are.
struct Place {
    bool hasSection = false;
    std::size_t sectionEnd = 0; ///< after the section's last line that is not blank
    std::optional<std::string_view> value;
};

/// Calls `visit` for each line of the first section of that name, its head included, until `visit` returns false.
template <typename Visit>
void walkSection(std::string_view bytes, std::string_view section, Visit visit)
{
    bool inside = false;
    for (std::size_t at = 0; at < bytes.size();) {
        const Line line = LineAt(bytes, at);
        if (line.kind == LineKind::Section) {
            if (inside) {
                return;
            }
            inside = IsSameName(line.name, section);
        }
        if (inside && !visit(line)) {
            return;
        }
        at = line.next;
    }
}

Place find(std::string_view bytes, std::string_view section, std::string_view key)
{
    Place place;
    walkSection(bytes, section, [&](const Line& line) {
        place.hasSection = true;
        if (line.kind == LineKind::Entry && IsSameName(line.name, key)) {
            place.value = line.value;
        }
        place.sectionEnd = line.blank ? place.sectionEnd : line.next;
        return !place.value.has_value();
    });
    return place;
}

/// The content of a file; empty when it is missing or cannot be read.
Content contentOf(const std::filesystem::path& file)
{
    std::error_code why;
    return ReadContent(file, why).value_or(Content(std::string()));
}

std::optional<std::string> valueOf(std::string_view section, std::string_view key, const std::filesystem::path& file)
{
    return contentOf(file).Value(section, key);
}

std::string cut(std::string text, std::size_t most)
{
    text.resize(std::min(text.size(), most));
    return text;
}

/// The line end that is missing before a new line; empty where a line has just ended.
std::string_view missingLineEnd(std::string_view before)
{
    if (before.ends_with('\r')) {
        return "\n"; // a second CR would become part of that line's value
    }
    return before.empty() || before.ends_with('\n') ? std::string_view{} : kLineEnd;
}

} // namespace

bool IsSameName(std::string_view a, std::string_view b)
{
    return std::ranges::equal(Trimmed(a), Trimmed(b), {}, lower, lower);
}

Line LineAt(std::string_view bytes, std::size_t start)
{
    const std::size_t end = std::min(bytes.find('\n', start), bytes.size());
    Line line;
    line.next = std::min(end + 1, bytes.size());
    std::string_view text = bytes.substr(start, end - start);
    if (text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    if (start == 0 && text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    const std::string_view trimmed = Trimmed(text);
    line.blank = trimmed.empty();
    if (trimmed.starts_with('[')) {
        line.kind = LineKind::Section;
        line.name = Trimmed(trimmed.substr(1, trimmed.find(']') - 1));
    } else if (const std::size_t sign = text.find('='); sign != std::string_view::npos && !trimmed.starts_with(';')) {
        line.kind = LineKind::Entry;
        line.name = Trimmed(text.substr(0, sign));
        line.value = text.substr(sign + 1);
    }
    return line;
}

std::optional<std::string> Content::Value(std::string_view section, std::string_view key) const
{
    const std::optional<std::string_view> value = find(m_bytes, section, key).value;
    return value ? std::optional<std::string>(*value) : std::nullopt;
}

std::vector<Entry> Content::Section(std::string_view section) const
{
    std::vector<Entry> entries;
    walkSection(m_bytes, section, [&](const Line& line) {
        if (line.kind == LineKind::Entry) {
            entries.push_back({std::string(line.name), std::string(line.value)});
        }
        return true;
    });
    return entries;
}

/// Creates or replaces one entry.
void Content::Put(std::string_view section, const Entry& entry)
{
    std::string line(entry.value);
    std::ranges::replace_if(
        line, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    const Place place = find(m_bytes, section, entry.key);
    if (place.value) {
        m_bytes.replace(static_cast<std::size_t>(place.value->data() - m_bytes.data()), place.value->size(), line);
        return;
    }
    std::string added;
    const std::size_t at = place.hasSection ? place.sectionEnd : m_bytes.size();
    added.append(missingLineEnd(std::string_view(m_bytes).substr(0, at)));
    if (!place.hasSection) {
        added.append("[").append(section).append("]").append(kLineEnd);
    }
    added.append(entry.key).append("=").append(line).append(kLineEnd);
    m_bytes.insert(at, added);
}

bool IsPlainText(std::string_view bytes)
{
    const auto nuls = static_cast<std::size_t>(std::ranges::count(bytes, '\0'));
    const auto controls = static_cast<std::size_t>(std::ranges::count_if(
        bytes, [](char c) { return c > '\0' && c < ' ' && c != '\t' && c != '\r' && c != '\n'; }));
    const bool hasMark = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    return !hasMark && nuls <= bytes.size() / kMostNuls && controls <= kFewControls + bytes.size() / kMostControls;
}

std::optional<Content> ReadContent(const std::filesystem::path& file, std::error_code& why)
{
    std::optional<std::string> bytes = modFiles::ReadWhole(file, why);
    if (bytes && !IsPlainText(*bytes)) {
        why = std::make_error_code(std::errc::illegal_byte_sequence);
        return std::nullopt;
    }
    std::error_code error;
    const bool isMissing = why == std::errc::no_such_file_or_directory || why == std::errc::not_a_directory;
    if (isMissing && !std::filesystem::exists(std::filesystem::symlink_status(file, error))) {
        why.clear();
        return Content(std::string());
    }
    return bytes ? std::optional<Content>(std::move(*bytes)) : std::nullopt;
}

bool Change(const std::filesystem::path& file, const std::function<void(Content&)>& edit, std::error_code& why)
{
    const modFiles::FolderLock lock(file);
    std::optional<Content> content = ReadContent(file, why);
    if (!content) {
        return false; // the file exists but cannot be read, so its content cannot be kept
    }
    const std::string before = content->Bytes();
    edit(*content);
    return content->Bytes() == before || modFiles::Replace(file, content->Bytes(), why);
}

std::int32_t GetPrivateProfileIntA(std::string_view section, std::string_view key, std::int32_t fallback,
                                   const std::filesystem::path& file)
{
    const std::optional<std::string> value = valueOf(section, key, file);
    return value ? WholeNumberAtHead(*value) : fallback;
}

std::int32_t WholeNumberAtHead(std::string_view value)
{
    std::string_view text = Trimmed(value);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::int32_t number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc::result_out_of_range) {
        return text.starts_with('-') ? INT32_MIN : INT32_MAX;
    }
    return number;
}

std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view fallback,
                                     std::size_t size, const std::filesystem::path& file)
{
    return cut(valueOf(section, key, file).value_or(std::string(fallback)), size - 1);
}

std::string GetPrivateProfileSectionA(std::string_view section, std::size_t size, const std::filesystem::path& file)
{
    std::string entries;
    for (const Entry& entry : contentOf(file).Section(section)) {
        entries.append(entry.key).append("=").append(entry.value).append(1, '\0');
    }
    return cut(std::move(entries), size - 2);
}

std::string GetPrivateProfileSectionNamesA(std::size_t size, const std::filesystem::path& file)
{
    const Content content = contentOf(file);
    const std::string& bytes = content.Bytes();
    std::string names;
    for (std::size_t at = 0; at < bytes.size();) {
        const Line line = LineAt(bytes, at);
        if (line.kind == LineKind::Section) {
            names.append(line.name).append(1, '\0');
        }
        at = line.next;
    }
    return cut(std::move(names), size - 2);
}

bool WritePrivateProfileStringA(std::string_view section, std::string_view key, std::string_view value,
                                const std::filesystem::path& file)
{
    const Entry entry{std::string(key), std::string(value)};
    return WriteEntries(section, {&entry, 1}, file);
}

bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file,
                  std::error_code& why)
{
    const auto put = [&](Content& content) {
        for (const Entry& entry : entries) {
            content.Put(section, entry);
        }
    };
    return Change(file, put, why);
}

bool WriteEntries(std::string_view section, std::span<const Entry> entries, const std::filesystem::path& file)
{
    std::error_code why;
    return WriteEntries(section, entries, file, why);
}

} // namespace modIni
