// Has books made, one after the other, and tells how they fare.
#include "hosts/serve/shelf/shelf.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>
#include <utility>

#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/make/convert.h"
#include "hosts/kavepub/make/provenance.h"
#include "hosts/serve/shelf/book_options.h"
#include "hosts/serve/shelf/refusal.h"
#include "hosts/serve/shelf/tokens.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kBetweenEvents = std::chrono::milliseconds(250);
constexpr auto kBetweenPositions = std::chrono::seconds(1);
constexpr auto kBetweenBeats = std::chrono::seconds(15);
constexpr size_t kMostListeners = 8;  // of a session
constexpr const char* kOfOneBook[] = {"title", "description", "isbn", "series-index"};

std::string Event(const char* name, const std::string& data) {
  return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

[[noreturn]] void NotFound() {
  throw Refused(refusal::kNotFound, "there is no such book here");
}

std::uint32_t ChecksumOf(const std::filesystem::path& file) {
  const UniqueFd opened = OpenRegularFile(file.c_str());
  std::vector<char> piece(std::size_t{1} << 16);
  std::uint32_t crc = 0;
  ssize_t size = 0;
  while ((size = read(opened.Get(), piece.data(), piece.size())) > 0) {
    crc = libdeflate_crc32(crc, piece.data(), static_cast<size_t>(size));
  }
  if (size < 0) throw std::system_error(errno, std::generic_category());
  return crc;
}

bool Has(const EditionOptions& options, const char* name) {
  return std::any_of(options.begin(), options.end(),
                     [name](const auto& option) { return option.first == name; });
}

bool WantsCoverFile(const EditionOptions& options) {
  return std::any_of(options.begin(), options.end(), [](const auto& option) {
    return option.first == kCoverOption && option.second == kCoverFile;
  });
}

// What one book can have must not be given to many.
void CheckForMany(const EditionOptions& options) {
  for (const char* name : kOfOneBook) {
    if (Has(options, name)) {
      throw Refused(refusal::kBadOption,
                    std::string("the ") + name + " is for one book; send the books one by one");
    }
  }
}

}  // namespace

// Hears how far a book has come.
class Shelf::Follower : public Progress {
 public:
  Follower(Shelf& of, Book& followed) : shelf(of), book(followed) {}

  void Show(double share) override {
    const std::scoped_lock lock(shelf.mutex);
    const bool isNews = share > book.progress;
    book.progress = std::max(book.progress, share);
    if (isNews && Clock::now() - book.told >= kBetweenEvents) shelf.Tell(book);
  }

  bool WantsToStop() override {
    const std::scoped_lock lock(shelf.mutex);
    if (Clock::now() - beaten >= kBetweenBeats) {
      beaten = Clock::now();
      for (const auto& listener : shelf.listeners) {
        listener->isBeating = true;
        listener->wake();
      }
    }
    return book.isUnwanted;
  }

 private:
  Shelf& shelf;
  Book& book;
  Clock::time_point beaten = Clock::now();
};

Shelf::Shelf(Store& kept, const Workshop& cells, const ShelfLimits& most, unsigned jobs)
    : store(kept), workshop(cells), limits(most), isAlone(jobs == 1), tasks(jobs) {
  for (Book& book : store.Load()) {
    ++uploads[book.upload].books;
    books.push_back(std::make_shared<Book>(std::move(book)));
  }
  for (auto& [id, sent] : uploads) sent.bytes = BytesBelow(store.PlaceOfFiles(id).parent_path());
  clock = std::jthread([this](const std::stop_token& stop) { WatchTime(stop); });
}

Shelf::~Shelf() = default;

void Shelf::Admit(const std::string& session) {
  const std::scoped_lock lock(mutex);
  RequireRoom(session, 1);
}

void Shelf::RequireRoom(const std::string& session, size_t added) const {
  const auto own = static_cast<size_t>(std::count_if(
      books.begin(), books.end(), [&](const Shared& book) { return book->session == session; }));
  if (own + added > limits.booksOfSession) {
    throw Refused(refusal::kTooManyBooks, "with " + std::to_string(own) +
                                              " books of yours here there is no room for " +
                                              std::to_string(added) + "; forget some");
  }
  if (books.size() + added > limits.books || queue.size() + added > limits.waiting) {
    throw Refused(refusal::kBusy, "there are too many books here just now; try again later");
  }
}

std::string Shelf::Add(const std::string& session, Upload& upload, Intake intake,
                       EditionOptions options) {
  if (intake.orders.size() > 1) CheckForMany(options);
  if (!upload.Cover().empty()) options.emplace_back(kCoverOption, kCoverFile);
  const std::scoped_lock lock(mutex);
  std::vector<Shared> added;
  for (BookOrder& order : intake.orders) {
    auto book = std::make_shared<Book>();
    book->id = NewToken();
    book->session = session;
    book->upload = upload.Id();
    book->isBatch = intake.isBatch;
    book->options = options;
    book->cover = upload.Cover();
    book->created = Book::Now();
    book->order = std::move(order);
    added.push_back(std::move(book));
  }
  RequireRoom(session, added.size());
  uploads[upload.Id()] = {added.size(), upload.Bytes()};
  upload.Keep();
  for (const Shared& book : added) {
    books.push_back(book);
    if (book->order.refusal.empty()) {
      Enqueue(book);
    } else {
      book->state = Book::State::kFailed;
      book->error = WithoutPlaces(book->order.refusal, *book);
      book->cause = book->order.refusalCause;
      Settle(*book);
    }
  }
  return Told(added);
}

std::string Shelf::Describe(const std::string& session, const std::string& id) {
  const std::scoped_lock lock(mutex);
  return Told(*Find(session, id));
}

std::string Shelf::DescribeAll(const std::string& session) {
  const std::scoped_lock lock(mutex);
  std::vector<Shared> own;
  std::copy_if(books.begin(), books.end(), std::back_inserter(own),
               [&](const Shared& book) { return book->session == session; });
  return Told(own);
}

std::string Shelf::UploadOf(const std::string& session, const std::string& id) {
  const std::scoped_lock lock(mutex);
  return Find(session, id)->upload;
}

std::string Shelf::Convert(const std::string& session, const std::string& id,
                           EditionOptions options, Upload* cover) {
  const std::scoped_lock lock(mutex);
  const Shared book = Find(session, id);
  if (book->IsPending()) {
    throw Refused(refusal::kNotFinished, "it is still being made; cancel that first");
  }
  if (!book->order.refusal.empty()) {
    throw Refused(refusal::kNothingToConvert, "no book can be made of it, whatever is chosen");
  }
  if (queue.size() >= limits.waiting) {
    throw Refused(refusal::kBusy, "there are too many books waiting just now; try again later");
  }
  if (cover != nullptr && !cover->Cover().empty()) {
    std::erase_if(options, [](const auto& option) { return option.first == kCoverOption; });
    options.emplace_back(kCoverOption, kCoverFile);
    book->cover = cover->Cover();
    uploads[book->upload].bytes += cover->Bytes();
    cover->Keep();
  } else if (WantsCoverFile(options) && book->cover.empty()) {
    throw Refused(refusal::kBadOption, "no file was sent for the cover");
  }
  book->options = std::move(options);
  Enqueue(book);
  return Told(*book);
}

std::string Shelf::Cancel(const std::string& session, const std::string& id) {
  const std::scoped_lock lock(mutex);
  const Shared book = Find(session, id);
  book->isUnwanted = book->IsPending();
  if (book->state == Book::State::kWaiting) {
    std::erase(queue, book);
    book->state = Book::State::kCancelled;
    Settle(*book);
  }
  return Told(*book);
}

void Shelf::Forget(const std::string& session, const std::string& id) {
  const std::scoped_lock lock(mutex);
  Drop(Find(session, id));
}

void Shelf::ForgetAll(const std::string& session) {
  const std::scoped_lock lock(mutex);
  for (const Shared& book : std::vector<Shared>(books)) {
    if (book->session == session) Drop(book);
  }
}

Finished Shelf::FindFinished(const std::string& session, const std::string& id) {
  const std::scoped_lock lock(mutex);
  const Shared book = Find(session, id);
  if (book->size == 0) throw Refused(refusal::kNotFinished, "it is not made yet");
  return {book->FileName(), store.PlaceOf(*book), book->size, book->crc};
}

std::vector<Finished> Shelf::FindAllFinished(const std::string& session) {
  const std::scoped_lock lock(mutex);
  std::vector<Finished> finished;
  for (const Shared& book : books) {
    if (book->session != session || book->size == 0) continue;
    finished.push_back({book->FileName(), store.PlaceOf(*book), book->size, book->crc});
  }
  return finished;
}

std::shared_ptr<Listener> Shelf::Listen(const std::string& session, const std::string& id,
                                        std::function<void()> wake) {
  const std::scoped_lock lock(mutex);
  if (!id.empty()) Find(session, id);
  auto listener = std::make_shared<Listener>(Listener{session, id, std::move(wake)});
  for (const Shared& book : books) {
    const bool isMeant = id.empty() ? book->session == session : book->id == id;
    if (isMeant) listener->changed.push_back(book->id);
  }
  // A page that went without a word is not noticed before something is told.
  const auto isOfSession = [&](const auto& other) { return other->session == session; };
  if (static_cast<size_t>(std::count_if(listeners.begin(), listeners.end(), isOfSession)) >=
      kMostListeners) {
    const auto oldest = std::find_if(listeners.begin(), listeners.end(), isOfSession);
    (*oldest)->isOver = true;
    (*oldest)->wake();
    listeners.erase(oldest);
  }
  listeners.push_back(listener);
  return listener;
}

void Shelf::Leave(const std::shared_ptr<Listener>& listener) {
  const std::scoped_lock lock(mutex);
  std::erase(listeners, listener);
}

std::optional<std::string> Shelf::NextEvent(Listener& listener) {
  const std::scoped_lock lock(mutex);
  if (!listener.gone.empty()) {
    const nlohmann::json gone = {{"id", listener.gone.front()}};
    listener.gone.pop_front();
    return Event("gone", gone.dump());
  }
  while (!listener.changed.empty()) {
    const std::string id = std::move(listener.changed.front());
    listener.changed.pop_front();
    const auto found = std::find_if(books.begin(), books.end(),
                                    [&](const Shared& book) { return book->id == id; });
    if (found == books.end()) continue;
    if (!listener.book.empty() && !(*found)->IsPending()) listener.isOver = true;
    return Event("book", Told(**found));
  }
  if (listener.isOver) return std::nullopt;
  return std::exchange(listener.isBeating, false) ? ":\n\n" : "";
}

Shelf::Shared Shelf::Find(const std::string& session, const std::string& id) const {
  const auto found = std::find_if(books.begin(), books.end(), [&](const Shared& book) {
    return book->id == id && book->session == session;
  });
  if (found == books.end()) NotFound();
  return *found;
}

std::string Shelf::Told(const Book& book) const {
  std::optional<size_t> position;
  if (book.state == Book::State::kWaiting) {
    const auto found = std::find_if(queue.begin(), queue.end(),
                                    [&](const Shared& waiting) { return waiting.get() == &book; });
    position = static_cast<size_t>(found - queue.begin()) + 1;
  }
  return ::Told(book, store.PlaceOfFiles(book.upload), position);
}

std::string Shelf::Told(const std::vector<Shared>& several) const {
  std::string told;
  for (const Shared& book : several) told.append(told.empty() ? "" : ",").append(Told(*book));
  return std::string("{\"books\":[").append(told).append("]}");
}

void Shelf::Tell(Book& book) {
  book.told = Clock::now();
  for (const auto& listener : listeners) {
    const bool isMeant =
        listener->book.empty() ? listener->session == book.session : listener->book == book.id;
    if (!isMeant) continue;
    auto& changed = listener->changed;
    if (std::find(changed.begin(), changed.end(), book.id) == changed.end()) {
      changed.push_back(book.id);
    }
    listener->wake();
  }
}

void Shelf::TellPositions() {
  for (const Shared& book : queue) {
    if (Clock::now() - book->told >= kBetweenPositions) Tell(*book);
  }
}

void Shelf::Enqueue(const Shared& book) {
  book->state = Book::State::kWaiting;
  book->progress = 0;
  book->isUnwanted = false;
  book->error.clear();
  book->expires.reset();
  queue.push_back(book);
  Tell(*book);
  tasks.Add([this] { MakeNext(); });
}

void Shelf::MakeNext() {
  std::unique_lock lock(mutex);
  if (queue.empty()) return;  // as it was cancelled
  const Shared book = queue.front();
  queue.pop_front();
  book->state = Book::State::kConverting;
  book->begun = Clock::now();
  Tell(*book);
  TellPositions();
  Book draft = *book;
  ++draft.made;
  lock.unlock();

  Follower progress(*this, *book);
  Book::State state = Book::State::kDone;
  std::string error;
  Cause cause = Cause::kBook;
  try {
    Conversion made = Make(draft, progress);
    for (BookWarning& warning : made.warnings) {
      warning.place = WithoutPlaces(std::move(warning.place), draft);
    }
    draft.Keep(made);
    draft.size = std::filesystem::file_size(store.PlaceOf(draft));
    draft.crc = ChecksumOf(store.PlaceOf(draft));
    draft.expires = Book::Now() + limits.keep;
    store.Keep(draft);
  } catch (const Interrupted&) {
    state = Book::State::kCancelled;
  } catch (const std::exception& failure) {
    state = Book::State::kFailed;
    error = Explain(failure);
    cause = CauseOf(failure);
  }

  lock.lock();
  book->state = state;
  if (state == Book::State::kDone) {
    store.TakeAnyway(draft.size);
    store.Give(book->size);
    book->progress = 1;
    book->made = draft.made;
    book->size = draft.size;
    book->crc = draft.crc;
    book->found = std::move(draft.found);
    book->expires = draft.expires;  // as the record has it
  } else {
    book->error = WithoutPlaces(error, draft);
    book->cause = cause;
  }
  Settle(*book);
  if (book->isForgotten) Remove(*book);
}

// As the tool makes it where the files lie, but for the place.
Conversion Shelf::Make(Book& draft, Progress& progress) const {
  BookOptions options;
  options.isAlone = isAlone;
  options.workDir = store.WorkPlace();
  options.chosen = InOrderOfTool(draft.options);
  for (auto& [name, value] : options.chosen) {
    if (name == kCoverOption && value == kCoverFile) value = store.Directory() / draft.cover;
  }
  Provenance provenance = ProvenanceOf(draft.order, options);
  if (!draft.isBatch) provenance.place.clear();
  store.Prepare(draft);
  BookOrder order = draft.order;
  order.output = store.PlaceOf(draft);
  return ConvertBook(order, options, workshop, provenance, progress);
}

std::string Shelf::WithoutPlaces(std::string text, const Book& book) const {
  return WithoutPlace(WithoutPlace(std::move(text), store.PlaceOfFiles(book.upload)),
                      store.PlaceOf(book).parent_path());
}

// From now on its time runs.
void Shelf::Settle(Book& book) {
  if (!book.expires) book.expires = Book::Now() + limits.keep;
  expiring.notify_one();
  Tell(book);
}

void Shelf::Drop(const Shared& book) {
  std::erase(queue, book);
  std::erase(books, book);
  for (const auto& listener : listeners) {
    const bool isMeant =
        listener->book.empty() ? listener->session == book->session : listener->book == book->id;
    if (!isMeant) continue;
    listener->gone.push_back(book->id);
    listener->isOver = listener->isOver || !listener->book.empty();
    listener->wake();
  }
  book->isUnwanted = true;
  book->isForgotten = true;
  if (book->state != Book::State::kConverting) Remove(*book);
}

void Shelf::Remove(const Book& book) {
  store.Remove(book);
  store.Give(book.size);
  const auto sent = uploads.find(book.upload);
  if (sent == uploads.end() || --sent->second.books > 0) return;
  store.RemoveUpload(book.upload);
  store.Give(sent->second.bytes);
  uploads.erase(sent);
}

void Shelf::WatchTime(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  while (!stop.stop_requested()) {
    const auto now = Book::Now();
    std::optional<Book::Seconds> next;
    for (const Shared& book : std::vector<Shared>(books)) {
      if (!book->expires) continue;
      if (*book->expires <= now) {
        Drop(book);
      } else {
        next = std::min(next.value_or(*book->expires), *book->expires);
      }
    }
    const auto isNearer = [&] {
      return std::any_of(books.begin(), books.end(), [&](const Shared& book) {
        return book->expires && (!next || *book->expires < *next);
      });
    };
    if (next) {
      expiring.wait_until(lock, stop, *next, isNearer);
    } else {
      expiring.wait(lock, stop, isNearer);
    }
  }
}
