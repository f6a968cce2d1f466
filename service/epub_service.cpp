// The C interface: checks handles, owns the builder behind a record and lets no exception out.
#include "service/epub_service.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

#include "builder/epub_base.h"
#include "convert/epub_management.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

constexpr char kCopyright[] =
    "Kav EPUB " KAV_EPUB_VERSION ". Copyright (c) 2026 The Kav EPUB developers. MIT license.";

// Runs one operation for a host in C; what it throws (memory ran out) becomes a code.
template <typename Operation>
int Guarded(Operation operation) {
  try {
    return operation();
  } catch (const std::exception&) {
    return EPUB_E_FAILED;
  }
}

template <typename Operation>
int WithBuilder(const TEpubData* data, Operation operation) {
  if (data == nullptr || data->epub == nullptr) return EPUB_E_NO_BUILDER;
  return Guarded([&] { return operation(*data->epub); });
}

// Discards the builder of a cell, with its working files.
void Release(TEpubData* data) {
  Guarded([data] { return data->epub->ClearData(); });
  delete data->epub;
  data->epub = nullptr;
}

int InitEpub(TEpubData* data, const char* workDir, const char* title, const char* author) {
  if (data == nullptr) return EPUB_E_NO_BUILDER;
  return Guarded([&] {
    data->epub = std::make_unique<EpubBase>().release();
    return data->epub->Init(workDir, title, author);
  });
}

void ClearUp(TEpubData* data) {
  if (data != nullptr && data->epub != nullptr) Release(data);
}

int StartPage(const TEpubData* data) {
  return WithBuilder(data, [](EpubBase& epub) { return epub.StartPage(); });
}

int EndPage(const TEpubData* data) {
  return WithBuilder(data, [](EpubBase& epub) { return epub.EndPage(); });
}

int AddTextLineToPage(const TEpubData* data, const char* line) {
  return WithBuilder(data, [line](EpubBase& epub) { return epub.AddTextLineToPage(line); });
}

int AddImageToPage(const TEpubData* data, const char* imagePath) {
  return WithBuilder(data, [=](EpubBase& epub) { return epub.AddImageToPage(imagePath); });
}

int AddImageToEpub(const TEpubData* data, const char* imagePath) {
  return WithBuilder(data, [=](EpubBase& epub) { return epub.AddImageToEpub(imagePath); });
}

int GenerateEpub(const TEpubData* data, const char* epubPath) {
  return WithBuilder(data, [=](EpubBase& epub) { return epub.GenerateEpub(epubPath); });
}

int AddHtmlToEpub(const TEpubData* data, const char* htmlPath) {
  if (KavIsFileOrDirExists(htmlPath) == 0) return EPUB_E_ARGUMENT;
  if (data == nullptr || data->epub == nullptr) return EPUB_E_ARGUMENT;
  return WithBuilder(data, [=](EpubBase& epub) { return epub.AddHTHLToEpub(htmlPath); });
}

// Runs one conversion with its own builder and removes its working files, whatever comes of it.
template <typename Conversion>
int Convert(const char* workDir, Conversion conversion) {
  return Guarded([&] {
    EpubManagement management;
    int code = management.Init(workDir, "", "");
    if (code == EPUB_OK) code = Guarded([&] { return conversion(management); });
    management.ClearData();
    return code;
  });
}

int Txt2Epub(const char* txtPath, const char* epubPath, const char* workDir, const char* /*title*/,
             const char* /*author*/, void* user, ProgressCallback progress) {
  if (KavIsStrNullOrEmpty(txtPath) != 0 || KavIsStrNullOrEmpty(epubPath) != 0 ||
      KavIsFileOrDirExists(workDir) == 0) {
    return EPUB_E_ARGUMENT;
  }
  return Convert(workDir, [&](EpubManagement& management) {
    return management.TXT2Epub(txtPath, epubPath, user, progress);
  });
}

int Mobi2Epub(const char* mobiPath, const char* epubPath, const char* workDir, void* user,
              ProgressCallback progress) {
  return Convert(workDir, [&](EpubManagement& management) {
    return management.Mobi2Epub(mobiPath, epubPath, user, progress);
  });
}

}  // namespace

TEpubService* CreateEpubService(void) {
  auto* record = static_cast<TEpubService*>(std::calloc(1, sizeof(TEpubService)));
  auto* data = static_cast<TEpubData*>(std::calloc(1, sizeof(TEpubData)));
  if (record == nullptr || data == nullptr) {
    std::free(record);
    std::free(data);
    return nullptr;
  }
  record->data = data;
  record->InitEpub = InitEpub;
  record->ClearUp = ClearUp;
  record->StartPage = StartPage;
  record->EndPage = EndPage;
  record->AddTextLineToPage = AddTextLineToPage;
  record->AddImageToPage = AddImageToPage;
  record->AddImageToEpub = AddImageToEpub;
  record->GenerateEpub = GenerateEpub;
  record->AddHtmlToEpub = AddHtmlToEpub;
  record->Txt2Epub = Txt2Epub;
  record->Mobi2Epub = Mobi2Epub;
  return record;
}

void FreeEpubService(TEpubService* record) {
  if (record == nullptr) return;
  ClearUp(record->data);
  std::free(record->data);
  std::free(record);
}

char* GetEpubCopyright(void) {
  return strdup(kCopyright);
}
