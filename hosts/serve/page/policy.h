// What the page and the frame in which books are read may do: values of Content-Security-Policy.
#ifndef HOSTS_SERVE_PAGE_POLICY_H_
#define HOSTS_SERVE_PAGE_POLICY_H_

#include <string_view>

// Nothing of the page stands in its markup or is made of texts, so that names of books cannot
// become scripts.
inline constexpr std::string_view kPagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; "
    "connect-src 'self'; frame-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'";

// The book comes as a message, so the frame and the chapters in it, which inherit this, load
// nothing from anywhere. Chapters may have attributes that are styles, as books of MOBI files do,
// and the engine makes style elements, which begin empty (that is the digest).
inline constexpr std::string_view kReaderPolicy =
    "default-src 'none'; script-src 'self'; "
    "style-src 'self' blob: 'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='; "
    "style-src-attr 'unsafe-inline'; img-src blob: data:; font-src blob: data:; "
    "connect-src 'none'; base-uri 'self'; form-action 'none'; frame-ancestors 'self'";

#endif
