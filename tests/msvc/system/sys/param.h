#error Visual Studio has no <sys/param.h>
