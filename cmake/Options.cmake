# Compiler options that all targets of the project share. The sanitizers and the optimisation level come from the
# preset; the options here hold in every preset.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_library(orvex_options INTERFACE)
target_compile_options(orvex_options INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wpedantic)
if(ORVEX_WERROR)
  target_compile_options(orvex_options INTERFACE -Werror)
endif()
target_include_directories(orvex_options INTERFACE ${CMAKE_SOURCE_DIR})

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # scripts/check-hardening checks these in the finished programs. Level 3 also checks buffers whose size is known only
  # at run time; some compilers set a level of their own, which has to be removed first.
  target_compile_options(orvex_options INTERFACE -fstack-protector-strong -fstack-clash-protection
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  target_link_options(orvex_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

# A library of the lower floors: plain C++, linked with nothing but the floors below it and what is named.
function(orvex_floor target)
  target_link_libraries(${target} PUBLIC ${ARGN} orvex_options)
  set_target_properties(${target} PROPERTIES AUTOMOC OFF)
endfunction()
