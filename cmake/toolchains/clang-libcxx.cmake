# Linux x86-64 with clang 16 and LLVM's C++ library, libc++ (Debian's
# clang-16, libc++-16-dev and libc++abi-16-dev), run natively.
set(CMAKE_C_COMPILER clang-16)
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-stdlib=libc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-stdlib=libc++")
