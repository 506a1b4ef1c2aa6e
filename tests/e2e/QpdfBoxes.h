// QpdfBoxes.h: reads the boxes and rotations of a PDF's pages with qpdf's
// JSON output, an independent reader of what folio wrote.
//
// Boxes are in PDF points as qpdf prints them, inherited through the page
// tree as a reader resolves them: a page without /CropBox has its media box
// as crop box (hasCropBox tells whether one was written).
#pragma once

#include <string>
#include <vector>

namespace e2e {

struct Box {
  double left = 0, bottom = 0, right = 0, top = 0;
  bool operator==(const Box &o) const
  {
    return left == o.left && bottom == o.bottom && right == o.right && top == o.top;
  }
};

struct PageBoxes {
  Box media;
  Box crop;
  bool hasCropBox = false;
  int rotate = 0;
};

// The pages of `pdf` in order (`password` opens an encrypted file). Empty
// with `error` set when qpdf fails or its output cannot be read.
std::vector<PageBoxes> readBoxes(const std::string &pdf, std::string *error = nullptr,
                                 const std::string &password = {});

// "l b r t" with the shortest decimals, for messages.
std::string toString(const Box &box);

} // namespace e2e
