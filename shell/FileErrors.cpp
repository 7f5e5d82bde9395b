#include "shell/FileErrors.h"

#include "shell/Localise.h"

QString FileErrorText(const std::error_code& error, std::int32_t language)
{
    constexpr struct {
        std::errc error;
        std::int32_t text;
    } kTexts[] = {
        {std::errc::no_space_on_device, 1063},
        {std::errc::permission_denied, 1064},
        {std::errc::operation_not_permitted, 1064},
        {std::errc::no_such_file_or_directory, 1065},
        {std::errc::read_only_file_system, 1066},
        {std::errc::not_a_directory, 1193},
        {std::errc::file_exists, 1193},
        {std::errc::is_a_directory, 1067},
        {std::errc::not_supported, 1067},
        {std::errc::io_error, 1068},
        {std::errc::file_too_large, 1352},
        {std::errc::value_too_large, 1069}, // stands for "all names are taken", which the system has no error for
    };
    for (const auto& known : kTexts) {
        if (error == known.error) {
            return Text(known.text, language);
        }
    }
    return QString::fromLocal8Bit(error.message());
}
