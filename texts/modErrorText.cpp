#include "texts/modErrorText.h"

#include "texts/modFunctions.h"

#include <cerrno>

namespace modErrorText {

namespace {

/// The system has no errors for "all names are taken", "no plain text" and "lines wait for the disk until there is no
/// more room": EOVERFLOW, EILSEQ and ENOBUFS stand for them.
constexpr KnownError kKnown[] = {
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

std::span<const KnownError> Known()
{
    return kKnown;
}

std::string Of(const std::error_code& error, std::int32_t language)
{
    const bool isOfTheSystem =
        error.category() == std::system_category() || error.category() == std::generic_category();
    for (const KnownError& known : kKnown) {
        if (isOfTheSystem && error.value() == known.number) {
            return std::string(modFunctions::GetText(known.text, language));
        }
    }
    return error.message();
}

} // namespace modErrorText
