# zidl_can_dispatch(variable): whether one library can hold two builds of a function and choose when it is loaded.
#
# Choosing takes indirect functions, and a baseline below what is chosen. Sanitizers are not ready when the linker asks. All flags of
# the folder count: those of the configuration and those of a project around it, too.
function(zidl_can_dispatch variable)
  include(CheckCXXSourceCompiles)
  set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
  get_directory_property(CMAKE_REQUIRED_FLAGS COMPILE_OPTIONS)
  list(FILTER CMAKE_REQUIRED_FLAGS EXCLUDE REGEX "\\$<")
  list(JOIN CMAKE_REQUIRED_FLAGS " " CMAKE_REQUIRED_FLAGS)
  check_cxx_source_compiles("
    #if !defined(__x86_64__) || defined(__BMI2__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    #error no choice
    #endif
    #ifdef __has_feature
    #if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
    #error no choice
    #endif
    #endif
    extern \"C\" { int baseline() { return 0; } }
    extern \"C\" { decltype(&baseline) chosen() { return baseline; } int dispatched() __attribute__((ifunc(\"chosen\"))); }
    int main() { return dispatched(); }" RIB_CAN_DISPATCH)
  set(${variable} ${RIB_CAN_DISPATCH} PARENT_SCOPE)
endfunction()
