// The parts of a form that is sent with files.
#ifndef KAVEPUB_SERVE_FORM_H
#define KAVEPUB_SERVE_FORM_H

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/http/mhd.h"

// Hears what a form consists of, in pieces as they come.
class FormListener {
 public:
  virtual ~FormListener() = default;

  // A part begins: a field, or a file under the name that the client has for it.
  virtual void Begin(std::string_view field, const char* file) = 0;
  virtual void TakePiece(std::string_view bytes) = 0;  // of that part
};

// Of a request whose body is a form, while that comes.
class Form {
 public:
  static bool IsIn(const Request& request);

  Form(const Request& request, FormListener& listener);
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  ~Form();

  // False when it is no form. Throws what the listener throws.
  bool Take(std::string_view bytes);

  // Whether it has come to its end, after which nothing is taken.
  bool End();

 private:
  static MHD_Result OnPiece(void* user, MHD_ValueKind kind, const char* field, const char* file,
                            const char* type, const char* encoding, const char* bytes,
                            std::uint64_t offset, size_t size);

  void Begin(std::string_view field, const char* file);

  FormListener& listener;
  MHD_PostProcessor* parser;
  std::exception_ptr thrown;
  std::string lastField;
  std::string lastFile;
  bool isEmpty = false;  // the part that began last, as far as it has come
};

#endif
