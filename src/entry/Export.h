#pragma once

#include <QtGlobal>

#if defined(KVEDIT_STATIC)
#define KVEDIT_EXPORT
#elif defined(KVEDIT_COMPONENT_BUILD)
#define KVEDIT_EXPORT Q_DECL_EXPORT
#else
#define KVEDIT_EXPORT Q_DECL_IMPORT
#endif
