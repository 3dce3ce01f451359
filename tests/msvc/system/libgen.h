#error Visual Studio has no <libgen.h>
