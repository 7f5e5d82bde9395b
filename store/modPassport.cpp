#include "store/modPassport.h"

#include "store/modBackup.h"

namespace modPassport {

std::filesystem::path FileOf(const std::filesystem::path& folder, std::string_view serialNo)
{
    return folder / (modBackup::NameOf(serialNo) + ".jsonl");
}

std::error_code Append(const std::filesystem::path&, std::string_view, const Entry&)
{
    return {};
}

ReadOutcome Read(const std::filesystem::path&, const std::function<bool(const Entry&)>&)
{
    return {};
}

std::optional<Entry> Newest(const std::filesystem::path&, Event)
{
    return {};
}

} // namespace modPassport
