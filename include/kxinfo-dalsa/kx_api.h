/** What the library exports is marked KX_API; everything else in it is hidden. */
#ifndef KXINFO_DALSA_KX_API_H
#define KXINFO_DALSA_KX_API_H

#define KX_API __attribute__((visibility("default")))

#endif
