#error Visual Studio has no <getopt.h>
