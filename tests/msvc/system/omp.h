// The functions of OpenMP 2.0, which Visual Studio's /openmp has, as far as Tarvix uses them.
#pragma once

extern "C" {
int __cdecl omp_get_max_threads(void);
int __cdecl omp_get_num_procs(void);
int __cdecl omp_get_num_threads(void);
int __cdecl omp_get_thread_num(void);
int __cdecl omp_in_parallel(void);
void __cdecl omp_set_dynamic(int);
void __cdecl omp_set_num_threads(int);
}
