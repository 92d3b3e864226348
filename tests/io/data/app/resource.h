//{{NO_DEPENDENCIES}}
// Symbols of the sample application's resources, as a resource editor keeps them.
#define IDS_APP_TITLE                   101
#define IDS_FILE_OPEN                   102
#define IDS_QUOTED                      0x0067
#define IDS_GREETING                    (IDS_APP_TITLE + 3)
#define IDS_SAVE_CHANGES                105
#define IDS_COPY_PROGRESS               106
#define IDS_BUILD_KIND                  107
#define IDS_TWO_LINES                   108
#define IDS_COLUMNS                     109
#define IDS_ABOUT_APP                   0X70
#define IDS_ESCAPES                     113
#define IDD_ABOUT                       200
#define IDM_MAIN                        300
#define IDR_ACCEL                       301
#define IDB_LOGO                        302
#define IDC_STATIC                      -1
