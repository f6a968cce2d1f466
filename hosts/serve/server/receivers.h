// What takes the bodies of requests.
#ifndef KAVEPUB_SERVE_RECEIVERS_H
#define KAVEPUB_SERVE_RECEIVERS_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hosts/serve/http/exchange.h"
#include "hosts/serve/http/form.h"
#include "hosts/serve/shelf/upload.h"

// A short text, for which an answer is made elsewhere or at once.
std::unique_ptr<Receiver> TakeText(
    std::function<void(std::string text, Receiver::Answer answer)> finish);

// A body that is of no interest any more, so that its client comes to read the answer.
std::unique_ptr<Receiver> TakeNothing(Response response);

// What was sent to become books.
struct Sending {
  std::unique_ptr<Upload> upload;
  EditionOptions options;
};

// Files and options: a form, or a file alone whose name and options are in the query. Without a
// name a form is expected. What is wrong is thrown as a Refused when all has come.
class SendingReceiver : public Receiver, public FormListener {
 public:
  // May throw, at once or in another thread by the answer.
  using Finisher = std::function<void(Sending, Answer)>;

  SendingReceiver(const Request& request, std::unique_ptr<Upload> upload, Finisher finisher);

  bool Take(std::string_view bytes) override;
  void Finish(Answer answer) override;

 private:
  void Begin(std::string_view field, const char* file) override;
  void TakePiece(std::string_view bytes) override;
  void EndPart();
  void FinishOrThrow(const Answer& answer);

  Sending sending;
  Finisher finish;
  std::unique_ptr<Form> form;
  enum class Part { kNone, kFile, kField } part = Part::kNone;
  std::string field;
  std::string value;
  std::optional<Response> refusal;
  std::uint64_t inVain = 0;  // bytes that came after that
};

#endif
