#include "ui/widgets/FileErrors.h"

#include "texts/modErrorText.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

QString FileErrorText(const std::error_code& error, std::int32_t language)
{
    return FromUtf8(modErrorText::Of(error, language));
}

QString FileErrorText(const QString& words, std::int32_t language)
{
    for (const modErrorText::KnownError& known : modErrorText::Known()) {
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
