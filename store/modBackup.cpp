#include "store/modBackup.h"

namespace modBackup {

std::string NameOf(std::string_view serialNo)
{
    return std::string(serialNo);
}

std::optional<std::filesystem::path> Save(const Configuration&, const std::filesystem::path&, double,
                                          std::error_code& why)
{
    why = std::make_error_code(std::errc::function_not_supported);
    return {};
}

std::vector<Backup> List(const std::filesystem::path&, std::string_view)
{
    return {};
}

void Thin(const std::filesystem::path&, std::string_view, double) {}

} // namespace modBackup
