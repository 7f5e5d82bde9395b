#include "ui/help/modHTMLHelp.h"

#include "base/Numbers.h"
#include "texts/modFunctions.h"

#include <algorithm>

namespace modHTMLHelp {

namespace {

constexpr std::string_view kTopic = ".topic ";

} // namespace

std::string_view PopUpFile(std::int32_t language)
{
    return language == LanguageGerman ? "RVQ_PopUps_De.txt" : "RVQ_PopUps_En.txt";
}

std::string HelpFile(const std::string& programFolder, std::int32_t language)
{
    return (programFolder + "/RVQ.chm::/").append(PopUpFile(language));
}

std::string TopicPage(std::string_view topic, std::int32_t language)
{
    const std::size_t end = std::min(topic.find('#'), topic.size());
    std::string page(topic.substr(0, end));
    if (page != kStart) {
        page += language == LanguageGerman ? "_de" : "_en";
    }
    return page.append(".htm").append(topic.substr(end));
}

std::string_view TopicOfPage(std::string_view page)
{
    return page.substr(0, page.find_first_of("_."));
}

std::map<std::string, std::string, std::less<>> PopUpTexts(std::string_view file)
{
    std::map<std::string, std::string, std::less<>> texts;
    std::string* text = nullptr;
    while (!file.empty()) {
        const std::size_t end = file.find('\n');
        const std::string_view line = Trimmed(file.substr(0, end));
        file.remove_prefix(end == std::string_view::npos ? file.size() : end + 1);
        if (line.starts_with(kTopic)) {
            text = &texts[std::string(Trimmed(line.substr(kTopic.size())))];
        } else if (text != nullptr && !line.empty() && !line.starts_with('#')) {
            text->append(text->empty() ? "" : " ").append(line);
        }
    }
    return texts;
}

} // namespace modHTMLHelp
