// Keeps libxml2 quiet on this thread for the length of a scope, whatever the host has installed.
#ifndef KAV_EPUB_ERROR_SILENCE_H
#define KAV_EPUB_ERROR_SILENCE_H

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

class ErrorSilence {
 public:
  ErrorSilence()
      : genericHandler(xmlGenericError),
        genericContext(xmlGenericErrorContext),
        structuredHandler(xmlStructuredError),
        structuredContext(xmlStructuredErrorContext) {
    // Validity handlers of a context are heard only while no structured handler is installed.
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, Ignore);
  }
  ~ErrorSilence() {
    xmlSetGenericErrorFunc(genericContext, genericHandler);
    xmlSetStructuredErrorFunc(structuredContext, structuredHandler);
  }
  ErrorSilence(const ErrorSilence&) = delete;
  ErrorSilence& operator=(const ErrorSilence&) = delete;

 private:
  static void Ignore(void* /*context*/, const char* /*format*/, ...) {}

  xmlGenericErrorFunc genericHandler;
  void* genericContext;
  xmlStructuredErrorFunc structuredHandler;
  void* structuredContext;
};

#endif
