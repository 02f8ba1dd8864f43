// One installed package as the catalogue knows it, and the environment variable that a started
// package receives.
#pragma once

#include <memory>
#include <string>
#include <vector>

/// A desktop package. Fields keep the names of the registry keys and descriptor elements that they
/// come from; everything is empty where the source has nothing.
struct PackageRecord {
    std::string name;      ///< key of every lookup by name
    std::string vexaName;  ///< key of starting a package
    std::string start;     ///< shell command line
    std::string stop;      ///< path of a program, run without arguments
    std::string identifier;
    std::string phoneIcon;  ///< absolute path of an image file
    std::string padIcon;    ///< absolute path of an image file
    std::string Display_Name;
    std::string Version;
    std::string exe_filename;  ///< text that tells the running program in the process list
    bool multiwin = false;
    bool AdminOnly = false;
    bool Enable = true;
};

/// The packages in registry order, which is the order of every first-match lookup.
using PackageList = std::vector<PackageRecord>;

/// A catalogue that was built whole and never changes again; kept by whoever still reads it.
using PackageListPtr = std::shared_ptr<const PackageList>;

/// One exported variable of the desktop session.
struct exportEnv_s {
    std::string name;
    std::string value;  ///< decoded
    std::string raw;    ///< as delivered: base64 text
};
