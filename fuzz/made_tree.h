// A whole tree from bytes: text files, clips for some of the names in them, and oddities.
#ifndef FUZZ_MADE_TREE_H
#define FUZZ_MADE_TREE_H

#include <map>

#include "harness.h"

// The text files, in the order in which an input has them.
constexpr const char *kTreeFiles[] = {
    "greetingRaw/greetings.ini", "eng_dict.txt", "pinyin_dict.txt",    "surname_pinyin_single.txt",
    "surname_pinyin_dural.txt",  "yinsu.txt",    "dst_temperature.txt"};
constexpr char kMark = '\x1e';  // ends every file

// Calls that fail: the call of this kind and number, from 1 on; 0: none.
struct fault {
    enum kind { opening, reading, reading_less } kind = opening;
    int number = 0;
};

// Takes the files from the input, and a piece of oddities, three characters each: what, where (see
// places_), how much.
//   s  a clip of another length            V  every name has its clip, and each is a voice
//   v  a clip of another sound             F  a call that fails; where: its kind, how much: number
//   m  nothing there                       d  a directory instead
//   l  a link to the phone list            x  a link to nothing
//   o  a link to itself                    p  a named pipe
//   z  a link to /dev/zero
// All of it is gone with the object.
class made_tree {
  public:
    made_tree(const resource_tree &tree, input &bytes);
    made_tree(const made_tree &) = delete;
    made_tree &operator=(const made_tree &) = delete;
    ~made_tree();

    // Makes sure that a clip is there; false when no file can have the name.
    bool require_clip(const std::string &file);
    bool loads() const;  // whether all files do: else starting the engine ends the process
    bool is_whole() const { return odd_.empty(); }
    request_limits limits() const;

    std::map<std::string, std::string> texts;  // file -> bytes
    fault failing;

  private:
    void add_clips(const std::string &file, const std::string &bytes);
    void add_clip(const std::string &file);
    void write_clip(const std::string &file, const std::string &sound);
    void make_odd(char what, size_t where, size_t how_much);
    void put(char what, const std::string &file);

    const resource_tree &tree_;
    const std::string away_;  // where what was replaced is kept
    std::vector<std::string> clips_, left_out_;
    std::vector<std::string> odd_;  // replaced, in order
    size_t tried_ = 0, longest_ = 5;
    bool has_empty_clip_ = false;
};

#endif
