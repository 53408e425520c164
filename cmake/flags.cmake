# Compiler and linker flags, in one place.
#   kov_abi       every target: the ABI, sanitizers, coverage
#   kov_warnings  our own code (not googletest): all warnings are errors

add_library(kov_abi INTERFACE)
if(KOV_ABI STREQUAL "ilp32")
  # -msse2: without it a plain copy of a packed record becomes rep movs, five times slower.
  set(kov_abi_flags -m32 -msse2 -mfpmath=sse)
  target_compile_options(kov_abi INTERFACE ${kov_abi_flags})
  target_link_options(kov_abi INTERFACE -m32)
endif()
if(KOV_SANITIZE)
  target_compile_options(kov_abi INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                           -fno-omit-frame-pointer)
  target_link_options(kov_abi INTERFACE -fsanitize=address,undefined)
endif()
if(KOV_COVERAGE)
  target_compile_options(kov_abi INTERFACE --coverage -O0)
  target_link_options(kov_abi INTERFACE --coverage)
endif()

add_library(kov_warnings INTERFACE)
target_compile_options(kov_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# clang's -Wconversion brings -Wsign-conversion for C++, g++'s does not: the same rules for both.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(kov_warnings INTERFACE -Wno-sign-conversion)
endif()
