// Keeps libxml2 quiet on this thread for the length of a scope, whatever the host has installed,
// and notices when it reports that memory ran out.
#ifndef KAV_BASE_ERROR_SILENCE_H
#define KAV_BASE_ERROR_SILENCE_H

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

#include "base/xml_text.h"

class ErrorSilence {
 public:
  ErrorSilence()
      : generic(SetUp()),
        genericTarget(*__xmlGenericErrorContext()),
        structured(*__xmlStructuredError()),
        structuredTarget(*__xmlStructuredErrorContext()),
        genericHandler(generic),
        genericContext(genericTarget),
        structuredHandler(structured),
        structuredContext(structuredTarget) {
    // Validity handlers of a context are heard only while no structured handler is installed.
    Install(Listen, this, nullptr, nullptr);
  }
  ~ErrorSilence() {
    Install(genericHandler, genericContext, structuredHandler, structuredContext);
    if (outOfMemory && genericHandler == Listen) Outer().outOfMemory = true;
  }
  ErrorSilence(const ErrorSilence&) = delete;
  ErrorSilence& operator=(const ErrorSilence&) = delete;

  // Whether libxml2 has reported so, in this scope or one inside it. It goes on without what it had
  // no room for.
  bool RanOutOfMemory() const { return outOfMemory; }

  // The handler itself, for contexts that have handlers of their own; its first argument is not
  // looked at there.
  static void Listen(void* /*context*/, const char* /*format*/, ...) {
    const xmlError* error = xmlGetLastError();
    const bool isMemory = error == nullptr || error->code == XML_ERR_NO_MEMORY;
    if (isMemory && *__xmlGenericError() == Listen) {
      static_cast<ErrorSilence*>(*__xmlGenericErrorContext())->outOfMemory = true;
    }
  }

 private:
  ErrorSilence& Outer() const { return *static_cast<ErrorSilence*>(genericContext); }
  void Install(xmlGenericErrorFunc newGeneric, void* newGenericContext,
               xmlStructuredErrorFunc newStructured, void* newStructuredContext) {
    generic = newGeneric;
    genericTarget = newGenericContext;
    structured = newStructured;
    structuredTarget = newStructuredContext;
  }

  // Threads must not be the first to use libxml2 at the same time.
  static xmlGenericErrorFunc& SetUp() {
    SetUpLibxml2();
    return *__xmlGenericError();
  }

  // The variables of this thread: to look each up again would cost more than all else here.
  xmlGenericErrorFunc& generic;
  void*& genericTarget;
  xmlStructuredErrorFunc& structured;
  void*& structuredTarget;

  xmlGenericErrorFunc genericHandler;
  void* genericContext;
  xmlStructuredErrorFunc structuredHandler;
  void* structuredContext;
  bool outOfMemory = false;
};

#endif
