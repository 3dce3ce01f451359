// Lists of photographs, as the commands that work on sets take them: files, or folders of them.
#pragma once

#include <afxcoll.h>

#include <string>
#include <vector>

namespace host {

bool isFolder(const std::string& path);

// The files, with each folder replaced by the image files in it, by name. Throws Failure for a
// folder without images.
std::vector<std::string> photographsOf(const std::vector<std::string>& filesAndFolders);

// The pairs of a folder as left right left right ..., by name: "left03.jpg" and "right03.jpg" are a
// pair. Throws Failure if there is none.
std::vector<std::string> pairsIn(const std::string& folder);

// Throws Failure, naming the first file that does not exist.
void requireFiles(const std::vector<std::string>& files);

// Throws Failure, naming the first file that is not an image. The exports that take lists do not
// say which file they could not read.
void requireImages(const std::vector<std::string>& files);

// Adds the files to the list that an export takes.
void addTo(CStringArray& list, const std::vector<std::string>& files);

} // namespace host
