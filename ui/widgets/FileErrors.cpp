#include "ui/widgets/FileErrors.h"

#include "ui/widgets/Localise.h"

#include <cerrno>

namespace {

/// By errno. EOVERFLOW stands for "all names are taken", EILSEQ for "no plain text": the system has no errors for
/// these.
constexpr struct {
    int number;
    std::int32_t text;
} kTexts[] = {
    {ENOSPC, 1063},  {EACCES, 1064},       {EPERM, 1064},     {ENOENT, 1065},  {EROFS, 1066},
    {ENOTDIR, 1193}, {EEXIST, 1193},       {EISDIR, 1067},    {ENOTSUP, 1067}, {EIO, 1068},
    {EBUSY, 1363},   {ETXTBSY, 1363},      {EOVERFLOW, 1069}, {EILSEQ, 1369},  {EFBIG, 1352},
    {EDQUOT, 1372},  {ENAMETOOLONG, 1373}, {ELOOP, 1374},     {EMLINK, 1374},
};

} // namespace

QString FileErrorText(const std::error_code& error, std::int32_t language)
{
    const bool isOfTheSystem =
        error.category() == std::system_category() || error.category() == std::generic_category();
    for (const auto& known : kTexts) {
        if (isOfTheSystem && error.value() == known.number) {
            return Text(known.text, language);
        }
    }
    return QString::fromLocal8Bit(error.message());
}

QString FileErrorText(const QString& words, std::int32_t language)
{
    for (const auto& known : kTexts) {
        if (words == qt_error_string(known.number)) {
            return Text(known.text, language);
        }
    }
    return words;
}
