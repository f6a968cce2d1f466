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
// nothing.
inline constexpr std::string_view kReaderPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self' blob:; img-src blob: data:; "
    "font-src blob: data:; connect-src 'none'; frame-src 'self' blob:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'self'";

#endif
