#define IDS_THIRD 3
