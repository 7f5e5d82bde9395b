// Converts between Windows-1252, which the sensor, the INI files and the settings sheet use, and the UTF-8 of our own
// texts.
#pragma once

#include <array>
#include <string>
#include <string_view>

/// Windows-1252 differs from Latin-1 only in 0x80..0x9F. The five codes that it leaves undefined stand for themselves,
/// so every byte survives the round trip.
inline constexpr char16_t kFirstHigh = 0x80;
inline constexpr std::array<char16_t, 32> kHighControls{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                        0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                        0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                        0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

/// A UTF-8 text as bytes of the code page; "?" for a character that the code page lacks and for a byte that is not
/// UTF-8.
std::string CodePageBytes(std::string_view utf8);

/// Bytes of the code page as UTF-8.
std::string Utf8Of(std::string_view bytes);
