#error Visual Studio has no <dirent.h>
