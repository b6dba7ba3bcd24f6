# Dependencies, all from Debian packages installed by scripts/setup.sh.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# BLAS: OpenBLAS's serial build, so that the audio thread never starts or wakes
# a BLAS worker thread.
find_library(PLX_OPENBLAS_SERIAL openblas
  PATHS /usr/lib/x86_64-linux-gnu/openblas-serial /usr/lib/aarch64-linux-gnu/openblas-serial
  NO_DEFAULT_PATH REQUIRED)
find_path(PLX_CBLAS_INCLUDE cblas.h PATH_SUFFIXES openblas REQUIRED)
find_library(PLX_LAPACKE lapacke REQUIRED)
find_path(PLX_LAPACKE_INCLUDE lapacke.h REQUIRED)
add_library(plx_blas INTERFACE)
target_link_libraries(plx_blas INTERFACE ${PLX_LAPACKE} ${PLX_OPENBLAS_SERIAL})
target_include_directories(plx_blas SYSTEM INTERFACE ${PLX_CBLAS_INCLUDE} ${PLX_LAPACKE_INCLUDE})

pkg_check_modules(FFTW3 REQUIRED IMPORTED_TARGET fftw3 fftw3f)
pkg_check_modules(MYSOFA REQUIRED IMPORTED_TARGET libmysofa)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)

# The KEMAR SOFA file that libmysofa-utils ships: real measured data for tests
# and for the table generators in tools/.
find_file(PLX_KEMAR_SOFA MIT_KEMAR_normal_pinna.sofa PATHS /usr/share/libmysofa NO_DEFAULT_PATH)

if(PLX_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(PLX_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()

# plx_area_library(NAME DIR [LIBS...]): a static library of every .cpp under DIR.
# An area with no sources yet becomes an interface library, so that the targets
# that depend on it stay valid while the area grows.
function(plx_area_library name dir)
  file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${dir}/*.cpp)
  if(srcs)
    add_library(${name} STATIC ${srcs})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARGN})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARGN})
  endif()
endfunction()
