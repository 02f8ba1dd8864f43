// A registry of many packages with their descriptors, for benchmarks that run in the box.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

/// Puts `count` packages, "Bench0" and so on, in the place of those of the registry.
inline void installPackages(int count) {
    namespace fs = std::filesystem;
    const fs::path root = "/share/Volume1/bench";
    std::ofstream registry("/etc/config/vexa.conf.new");
    registry << "[Torvik]\nVersion = 2.4.1\n";
    for (int i = 0; i < count; ++i) {
        const std::string name = "Bench" + std::to_string(i);
        fs::create_directories(root / name / ".kallo");
        std::ofstream(root / name / ".kallo/kallo.xml")
            << "<KALLO><name>" << name << "</name><vexaName>" << name
            << "</vexaName><start>true</start><icon_phone>p.png</icon_phone></KALLO>\n";
        registry << "[" << name << "]\nClass = Torvik\nInstall_Path = " << (root / name).string()
                 << "\nDisplay_Name = Package " << i << "\nVersion = 1." << i << "\n";
    }
    registry.close();
    fs::rename("/etc/config/vexa.conf.new", "/etc/config/vexa.conf");
}
