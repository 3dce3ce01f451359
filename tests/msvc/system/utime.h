#error Visual Studio has no <utime.h>
