// The one export macro of the library.
//
// Mortar is built with hidden visibility: only what is marked MORTAR_API can be linked
// by a client. Classes of the public interface carry the macro on the class; free
// functions carry it on the declaration. Class templates are header-only and need none.
#ifndef MORTAR_EXPORT_H
#define MORTAR_EXPORT_H

#if defined(MORTAR_STATIC)
#define MORTAR_API
#elif defined(_WIN32)
#if defined(MORTAR_BUILDING)
#define MORTAR_API __declspec(dllexport)
#else
#define MORTAR_API __declspec(dllimport)
#endif
#else
#define MORTAR_API __attribute__((visibility("default")))
#endif

#endif
