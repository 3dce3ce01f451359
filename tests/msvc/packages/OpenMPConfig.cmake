add_library(OpenMP::OpenMP_CXX INTERFACE IMPORTED)
set_target_properties(OpenMP::OpenMP_CXX PROPERTIES INTERFACE_COMPILE_OPTIONS /openmp)
