# What makes a fault in these programs harder to use: checks of the stack, of copies and of the
# standard library's containers, addresses that differ from start to start, and tables of addresses
# that nobody can write. tests/house looks whether the built files have all of it.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

add_compile_options(-fstack-protector-strong -D_GLIBCXX_ASSERTIONS)
# Only optimised code can be checked this way.
set(optimised $<NOT:$<OR:$<CONFIG:Debug>,$<CONFIG:>>>)
add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
# Jumps and returns, on processors that check them.
check_cxx_compiler_flag(-fcf-protection TARNIS_HAS_CF_PROTECTION)
if(TARNIS_HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection)
endif()

if(WIN32)
  # The first brings the library in which the checks are.
  add_link_options(-fstack-protector-strong -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
else()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endif()
