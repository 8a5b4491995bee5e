// What the report of one sample holds: texts, tables and a picture. This page decides what is
// told; the writers of HTML and PDF only lay it out.
#pragma once

#include <string>
#include <vector>

#include "toolkit/writing/picture.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// A cell of a table. Texts are UTF-8 in one line, safe to show but not escaped for any format.
struct ReportCell {
  std::string text;
  std::string interval{};  ///< shown below it
};

struct ReportTable {
  std::string heading;
  std::vector<std::string> columns;  ///< none: names and texts, without a head
  std::vector<std::vector<ReportCell>> rows;
};

struct ReportContent {
  std::string title;
  std::string subtitle;  ///< samples and kernel
  bool success = true;
  std::string status;              ///< a sentence
  std::vector<std::string> notes;  ///< remarks, a sentence each
  PictureContent picture;          ///< without a title
  std::vector<ReportTable> tables;
};

ReportContent reportContent(const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::toolkit
