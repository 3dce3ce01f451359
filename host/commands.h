// The sub-commands of the sample host, one per export, and the gallery's entries, one table per
// family.
//
// A sub-command is declared by a function that adds it to the parser with its options and a
// callback; the callback throws host::Failure, or lets what the export raises pass.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace host {

// One picture of the gallery: a command line and what to show of it.
struct GalleryEntry {
    std::string title;
    std::string text;                 // one or two sentences for a person
    std::vector<std::string> command; // "canny", "PHOTOS/building.jpg", "-o", "OUT/canny.png", ...
    std::vector<std::string> before;  // pictures to show: "PHOTOS/..." or "OUT/..."
    std::vector<std::string> after;
    std::vector<std::vector<std::string>> prepare; // commands that must run first, not shown
};
// PHOTOS/ stands for the folder of photographs, OUT/ for the gallery's own folder of results.

// Parses and runs one command line (without the program's name) in this process; the exit status.
int runCommand(std::vector<std::string> arguments);

void addFilterCommands(CLI::App& app);
std::vector<GalleryEntry> filterGallery();

void addFacesCommands(CLI::App& app);
std::vector<GalleryEntry> facesGallery();

void addGeometryCommands(CLI::App& app);
std::vector<GalleryEntry> geometryGallery();

void addCalibCommands(CLI::App& app);
std::vector<GalleryEntry> calibGallery();

void addFeatureCommands(CLI::App& app);
std::vector<GalleryEntry> featureGallery();

void addGalleryCommand(CLI::App& app);

} // namespace host
