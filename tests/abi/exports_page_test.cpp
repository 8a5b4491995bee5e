// The page of exports is that of the header, and the header says of every export what
// a host has to know.
#include "exports_page.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using vorin::test::Argument;
using vorin::test::contentOf;
using vorin::test::Entry;
using vorin::test::ExportRow;
using vorin::test::ExportsPage;
using vorin::test::Parameter;
using vorin::test::Piece;
using vorin::test::Prototype;
using vorin::test::Section;

const ExportsPage& thePage() {
  static const ExportsPage page(contentOf(VORIN_HEADER), contentOf(VORIN_EXPORT_TABLE));
  return page;
}

/// Calls `check` for each export with the entry that describes it.
template <class Check>
void forEachExport(Check check) {
  for (const Section& section : thePage().sections()) {
    for (const Entry& entry : section.entries) {
      for (const Prototype& prototype : entry.exports) {
        check(entry, prototype);
      }
    }
  }
}

TEST(ExportsPage, IsThatOfTheHeader) {
  EXPECT_EQ(contentOf(VORIN_EXPORTS_PAGE), thePage().page())
      << "write it anew: cmake --build --preset dev --target exports_page";
}

TEST(ExportsPage, HasEveryExportOfTheTable) {
  EXPECT_EQ(thePage().rows().size(), 51U);
  const std::string page = contentOf(VORIN_EXPORTS_PAGE);
  for (const ExportRow& row : thePage().rows()) {
    EXPECT_TRUE(thePage().describes(row.name)) << row.name;
    EXPECT_NE(page.find('`' + row.name + '`'), std::string::npos) << row.name;
    EXPECT_NE(page.find(' ' + row.name + '('), std::string::npos) << row.name;
    EXPECT_NE(page.find('`' + row.name + "` takes " + row.bytes + " bytes"), std::string::npos)
        << row.name;
  }
}

// The contents at the top of the header: the title of each section up to a comma or colon, in the
// order of the sections, and behind it the section's exports.
TEST(ExportsPage, TheContentsOfTheHeaderAreItsSectionsAndTheirExports) {
  const std::string header = contentOf(VORIN_HEADER);
  const std::size_t start = header.find("* Contents");
  ASSERT_NE(start, std::string::npos);
  const std::string contents = header.substr(start, header.find("* Conventions") - start);
  std::size_t at = 0;
  for (const Section& section : thePage().sections()) {
    const std::string title = section.title.substr(0, section.title.find_first_of(",:"));
    const std::string shortened = title.substr(0, title.find(" without"));
    const std::size_t found = contents.find(" *   " + shortened, at);
    ASSERT_NE(found, std::string::npos) << shortened;
    at = found + 1;
    std::size_t end = contents.find('\n', at);
    while (contents.compare(end, 8, "\n *     ") == 0) {
      end = contents.find('\n', end + 1);
    }
    const std::string row = contents.substr(at, end - at);
    for (const Entry& entry : section.entries) {
      for (const Prototype& prototype : entry.exports) {
        EXPECT_NE(row.find(' ' + prototype.name), std::string::npos)
            << shortened << ": " << prototype.name;
      }
    }
  }
}

TEST(ExportsPage, EveryEntryBeginsWithItsPurpose) {
  for (const Section& section : thePage().sections()) {
    for (const Entry& entry : section.entries) {
      ASSERT_FALSE(entry.comment.empty()) << section.title;
      EXPECT_FALSE(entry.comment.front().paragraph.empty()) << section.title;
      // Nothing but constants and declarations stands behind a comment.
      EXPECT_NE(entry.constants.empty(), entry.exports.empty()) << entry.comment.front().paragraph;
    }
  }
}

TEST(ExportsPage, EveryArgumentIsDescribed) {
  forEachExport([](const Entry& entry, const Prototype& prototype) {
    for (const Parameter& parameter : prototype.parameters) {
      const Argument* const argument = thePage().find(entry, parameter.name);
      ASSERT_NE(argument, nullptr) << prototype.name << ": " << parameter.name;
      EXPECT_FALSE(argument->text.empty()) << prototype.name << ": " << parameter.name;
    }
    if (prototype.returns != "void") {
      EXPECT_NE(thePage().find(entry, "returns"), nullptr) << prototype.name;
    }
  });
}

// What can be written through must be out or both; what can't must be in.
TEST(ExportsPage, DirectionsAgreeWithTheTypes) {
  forEachExport([](const Entry& entry, const Prototype& prototype) {
    for (const Parameter& parameter : prototype.parameters) {
      const Argument* const argument = thePage().find(entry, parameter.name);
      ASSERT_NE(argument, nullptr);
      const bool writable = parameter.type.find('*') != std::string::npos &&
                            parameter.type.find("const") == std::string::npos;
      const std::set<std::string> allowed =
          writable ? std::set<std::string>{"out", "in and out", "in on S, out on Q", "-"}
                   : std::set<std::string>{"in", "-"};
      EXPECT_TRUE(allowed.contains(argument->direction))
          << prototype.name << ": " << parameter.type << ' ' << parameter.name << " is said to be "
          << argument->direction;
    }
  });
}

TEST(ExportsPage, ByValueAndByAddressAreAsInThePrototype) {
  forEachExport([](const Entry& entry, const Prototype& prototype) {
    for (const Parameter& parameter : prototype.parameters) {
      const Argument* const argument = thePage().find(entry, parameter.name);
      ASSERT_NE(argument, nullptr);
      const bool address = parameter.type.find('*') != std::string::npos;
      const std::string wrong = address ? "by value" : "by address";
      EXPECT_EQ(argument->text.find(wrong), std::string::npos)
          << prototype.name << ": " << parameter.name << ": " << argument->text;
    }
  });
}

TEST(ExportsPage, NoArgumentIsDescribedThatTheFunctionDoesNotHave) {
  for (const Section& section : thePage().sections()) {
    for (const Entry& entry : section.entries) {
      std::set<std::string> names{"returns"};
      for (const Prototype& prototype : entry.exports) {
        for (const Parameter& parameter : prototype.parameters) {
          names.insert(parameter.name);
        }
      }
      for (const Piece& piece : entry.comment) {
        for (const Argument& argument : piece.arguments) {
          for (const std::string& name : argument.names) {
            EXPECT_TRUE(names.contains(name)) << name << ": " << argument.text;
          }
        }
      }
    }
  }
}

TEST(ExportsPage, EveryStatusNamesItsValues) {
  forEachExport([](const Entry& entry, const Prototype& prototype) {
    for (const Parameter& parameter : prototype.parameters) {
      if (parameter.name == "status") {
        const Argument* const argument = thePage().find(entry, "status");
        ASSERT_NE(argument, nullptr) << prototype.name;
        EXPECT_NE(argument->text.find("VORIN_"), std::string::npos)
            << prototype.name << ": " << argument->text;
      }
    }
  });
}

TEST(ExportsPage, EveryConstantHasAValueAndAMeaningOrAComment) {
  std::size_t constants = 0;
  for (const Section& section : thePage().sections()) {
    for (const Entry& entry : section.entries) {
      for (const auto& constant : entry.constants) {
        ++constants;
        EXPECT_EQ(constant.value.find_first_not_of("0123456789"), std::string::npos)
            << constant.name << " = " << constant.value;
        EXPECT_FALSE(constant.value.empty()) << constant.name;
      }
    }
  }
  const std::string header = contentOf(VORIN_HEADER);
  std::size_t written = 0;
  for (std::size_t at = header.find("\nenum"); at != std::string::npos;
       at = header.find("\nenum", at + 1)) {
    const std::string body = header.substr(at, header.find("};", at) - at);
    for (std::size_t sign = body.find(" = "); sign != std::string::npos;
         sign = body.find(" = ", sign + 1)) {
      ++written;
    }
  }
  EXPECT_GE(written, constants);
  EXPECT_GT(constants, 30U);
}

}  // namespace
