/* Found through the include path (-I), not next to the script. */
#ifndef BRANDING_H
#define BRANDING_H
#define APP_NAME "Sample"
#define COMPANY L"Example Ltd."
#endif
