// Takes bodies as they come.
#include "hosts/serve/server/receivers.h"

#include <algorithm>
#include <utility>

#include "hosts/serve/server/answers.h"
#include "hosts/serve/shelf/book_options.h"

namespace {

constexpr size_t kLongestText = 65536;
constexpr size_t kLongestValue = 16384;
constexpr std::uint64_t kMostInVain = std::uint64_t{64} << 20;
constexpr std::string_view kFileField = "file";
constexpr std::string_view kNameField = "name";

class TextReceiver : public Receiver {
 public:
  explicit TextReceiver(std::function<void(std::string, Answer)> finisher)
      : finish(std::move(finisher)) {}

  bool Take(std::string_view bytes) override {
    text += bytes;
    return text.size() <= kLongestText;
  }

  void Finish(Answer answer) override {
    try {
      finish(std::move(text), answer);
    } catch (const std::exception& failure) {
      answer(FailureAnswer(failure));
    }
  }

 private:
  std::function<void(std::string, Answer)> finish;
  std::string text;
};

class NothingReceiver : public Receiver {
 public:
  explicit NothingReceiver(Response given) : response(std::move(given)) {}

  bool Take(std::string_view bytes) override { return (taken += bytes.size()) <= kMostInVain; }
  void Finish(Answer answer) override { answer(std::move(response)); }

 private:
  Response response;
  std::uint64_t taken = 0;
};

}  // namespace

std::unique_ptr<Receiver> TakeText(std::function<void(std::string, Receiver::Answer)> finish) {
  return std::make_unique<TextReceiver>(std::move(finish));
}

std::unique_ptr<Receiver> TakeNothing(Response response) {
  return std::make_unique<NothingReceiver>(std::move(response));
}

SendingReceiver::SendingReceiver(const Request& request, std::unique_ptr<Upload> upload,
                                 Finisher finisher)
    : sending{std::move(upload), {}}, finish(std::move(finisher)) {
  if (Form::IsIn(request)) {
    form = std::make_unique<Form>(request, *this);
    return;
  }
  std::string name;
  for (const auto& [key, given] : request.query) {
    if (key == kNameField) {
      name = given;
    } else {
      Choose(sending.options, key, given);
    }
  }
  if (name.empty()) {
    throw Refused(refusal::kBadRequest,
                  "a file has no name; send a form, or add ?name=novel.txt to the address");
  }
  sending.upload->Begin(name);
}

bool SendingReceiver::Take(std::string_view bytes) {
  if (refusal) return (inVain += bytes.size()) <= kMostInVain;
  try {
    if (!form) {
      sending.upload->Take(bytes);
    } else if (!form->Take(bytes)) {
      throw Refused(refusal::kBadRequest, "the form is damaged");
    }
  } catch (const std::exception& failure) {
    refusal = FailureAnswer(failure);
    sending.upload.reset();  // its room may be needed
  }
  return true;
}

void SendingReceiver::Finish(Answer answer) {
  try {
    if (refusal) {
      answer(*std::move(refusal));
    } else {
      FinishOrThrow(answer);
    }
  } catch (const std::exception& failure) {
    answer(FailureAnswer(failure));
  }
}

void SendingReceiver::FinishOrThrow(const Answer& answer) {
  if (form && !form->End()) throw Refused(refusal::kBadRequest, "the form is not whole");
  EndPart();
  sending.upload->Finish();
  finish(std::move(sending), answer);
}

void SendingReceiver::Begin(std::string_view name, const char* file) {
  EndPart();
  const bool isFile = file != nullptr && *file != '\0';
  part = isFile ? Part::kFile : Part::kField;
  if (isFile && name == kCoverOption) {
    sending.upload->BeginCover();
  } else if (isFile && name == kFileField) {
    sending.upload->Begin(file);
  } else if (isFile) {
    throw Refused(refusal::kBadRequest, "a file belongs into the field \"file\" or \"cover\"");
  }
  field = name;
  value.clear();
}

void SendingReceiver::TakePiece(std::string_view bytes) {
  if (part == Part::kFile) {
    sending.upload->Take(bytes);
    return;
  }
  value += bytes;
  if (value.size() > kLongestValue) throw Refused(refusal::kTooLarge, "a field is too long");
}

// A browser sends an empty part for a file that was not chosen.
void SendingReceiver::EndPart() {
  const bool isField = std::exchange(part, Part::kNone) == Part::kField;
  if (isField && !(value.empty() && field == kFileField)) {
    Choose(sending.options, field, value);
  }
}
