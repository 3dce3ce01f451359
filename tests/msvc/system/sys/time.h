#error Visual Studio has no <sys/time.h>
