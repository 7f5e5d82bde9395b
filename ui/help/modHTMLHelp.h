// Where the help of a language lies: the help file, its topic pages and its pop-up texts. The pages themselves are part
// of the program, see the folder help/.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace modHTMLHelp {

/// The place of pages, pictures and texts inside the program.
inline constexpr std::string_view kFolder = ":/help/";

/// The topic whose page is the same for both languages.
inline constexpr std::string_view kStart = "Start";

/// The pop-up text file inside the help file: "RVQ_PopUps_De.txt" or "RVQ_PopUps_En.txt".
std::string_view PopUpFile(std::int32_t language);

/// The program's help file with the pop-up text file for context help: the program's folder, "/RVQ.chm::/" and
/// `PopUpFile`.
std::string HelpFile(const std::string& programFolder, std::int32_t language);

/// The page of a topic in a language: "Main" is "Main_de.htm" or "Main_en.htm"; `kStart` is "Start.htm". A section may
/// follow: "Main#lamp" is "Main_de.htm#lamp".
std::string TopicPage(std::string_view topic, std::int32_t language);

/// The topic of a page: "Main" for "Main_de.htm".
std::string_view TopicOfPage(std::string_view page);

/// The texts of a pop-up text file (UTF-8) by topic, "window.control". A topic begins with a line ".topic NAME"; its
/// text is made of the lines up to the next topic, joined by blanks. Lines that begin with "#" are comments.
std::map<std::string, std::string, std::less<>> PopUpTexts(std::string_view file);

} // namespace modHTMLHelp
