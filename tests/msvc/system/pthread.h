#error Visual Studio has no <pthread.h>
