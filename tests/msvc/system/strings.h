#error Visual Studio has no <strings.h>
