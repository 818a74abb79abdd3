// The smallest resource tree that an engine starts on, in a temporary directory that goes with the
// object: empty lexicons, a configuration without greetings, no clips.
#ifndef SUPPORT_MINIMAL_TREE_H
#define SUPPORT_MINIMAL_TREE_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

class minimal_tree {
  public:
    minimal_tree() {
        if (mkdtemp(root.data()) == nullptr) throw std::runtime_error("cannot create " + root);
        root += "/";
        for (const char *directory : {"pinyinRaw", "engRaw", "greetingRaw"}) {
            std::filesystem::create_directory(root + directory);
        }
        for (const char *lexicon : {"eng_dict", "pinyin_dict", "surname_pinyin_single",
                                    "surname_pinyin_dural", "yinsu", "dst_temperature"}) {
            file(std::string(lexicon) + ".txt", "");
        }
        file("greetingRaw/greetings.ini", "[default_config]\n");
    }
    minimal_tree(const minimal_tree &) = delete;
    minimal_tree &operator=(const minimal_tree &) = delete;
    ~minimal_tree() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    // Writes a file of the tree, `name` being its path below the root.
    void file(const std::string &name, const std::string &bytes) const {
        std::ofstream out(root + name, std::ios::binary);
        if (!(out << bytes).flush()) throw std::runtime_error("cannot write " + root + name);
    }

    std::string root = (std::filesystem::temp_directory_path() / "tts_tree.XXXXXX").string();
};

#endif
