#error Visual Studio has no <unistd.h>
