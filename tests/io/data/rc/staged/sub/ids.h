#define IDS_FIRST 1
#define IDS_SECOND 2
