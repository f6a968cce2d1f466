// Makes one document of a text in UTF-8: each of its lines is a paragraph.
#include "edition/text/text_book.h"

#include <algorithm>

#include "base/text_gate.h"
#include "edition/book/markup.h"

namespace {

constexpr size_t kPieceSize = size_t{64} * 1024;

// The whole lines of a piece of text; what it leaves of the last one stays in it.
BlockRun TakeLines(std::string& text, bool isEnd) {
  BlockRun run;
  size_t begin = 0;
  while (begin < text.size()) {
    size_t end = text.find('\n', begin);
    if (end == std::string::npos && !isEnd) break;
    end = std::min(end, text.size());
    const std::string line = OneLine(std::string_view(text).substr(begin, end - begin));
    if (!line.empty()) {
      run.breaks.push_back(run.body.size());
      run.body += "<p>";
      AppendEscaped(line, run.body);
      run.body += "</p>\n";
    }
    begin = std::min(end + 1, text.size());
  }
  text.erase(0, begin);
  return run;
}

}  // namespace

Status MakeTextBook(const std::vector<Input>& inputs, const SourceOptions& /*options*/,
                    BookSink& sink, Run& run) {
  const Input& input = inputs.front();
  if (Status status = sink.Begin({}); !status) return status;
  if (Status status = sink.Add(Document{}); !status) return status;
  std::string text;
  std::string piece(kPieceSize, '\0');
  for (std::uint64_t offset = 0; offset < input.Size(); offset += piece.size()) {
    const Result<size_t> count = input.Read(offset, piece.data(), piece.size());
    if (!count) return count.Why();
    text.append(piece, 0, *count);
    const std::uint64_t done = offset + *count;
    if (Status status = sink.Continue(TakeLines(text, done == input.Size())); !status) {
      return status;
    }
    const double share = static_cast<double>(done) / static_cast<double>(input.Size());
    if (Status status = run.Advance(share); !status) return status;
  }
  return sink.Finish({});
}
