#include "ui/widgets/FileErrors.h"

#include "ui/widgets/Localise.h"

#include <cerrno>

namespace {

/// By errno. The system has no errors for "all names are taken", "no plain text" and "lines wait for the disk until
/// there is no more room": EOVERFLOW, EILSEQ and ENOBUFS stand for them.
constexpr struct {
    int number;
    TextId text;
} kTexts[] = {
    {ENOSPC, TextId::FileErrorDiskFull},      {EACCES, TextId::FileErrorNoPermission},
    {EPERM, TextId::FileErrorNoPermission},   {ENOENT, TextId::FileErrorMissing},
    {EROFS, TextId::FileErrorWriteProtected}, {ENOTDIR, TextId::FileErrorFileForFolder},
    {EEXIST, TextId::FileErrorFileForFolder}, {EISDIR, TextId::FileErrorNotOrdinary},
    {ENOTSUP, TextId::FileErrorNotOrdinary},  {EIO, TextId::FileErrorDisk},
    {EBUSY, TextId::FileErrorInUse},          {ETXTBSY, TextId::FileErrorInUse},
    {EOVERFLOW, TextId::FileErrorNamesTaken}, {EILSEQ, TextId::FileErrorNoPlainText},
    {EFBIG, TextId::FileErrorTooLarge},       {ENOBUFS, TextId::FileErrorTooSlow},
    {EDQUOT, TextId::FileErrorQuota},         {ENAMETOOLONG, TextId::FileErrorNameTooLong},
    {ELOOP, TextId::FileErrorTooManyLinks},   {EMLINK, TextId::FileErrorTooManyLinks},
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

bool CommitFile(QSaveFile& file)
{
    return file.error() == QFileDevice::NoError && file.flush() && file.commit();
}
