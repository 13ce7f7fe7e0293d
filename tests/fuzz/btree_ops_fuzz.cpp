// Btree operation sequences decoded from the input (see btree_ops.h), run on
// a tree in memory or in a file and on a std::map side by side: every answer,
// surrogate and a walk in both directions must agree.  Every operation is
// valid, so here a failure report of the store is a finding too.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "store/Btree.h"
#include "tests/fuzz/btree_ops.h"
#include "tests/fuzz/fuzz_util.h"

namespace {

using Model = std::map<std::string, std::string>;
const char* const file_name = "ops.bt";

std::string key_of(const Btree_st& s) { return std::string(s.k, s.k_L); }
// A long value comes back whole, its length shown as 255.
std::string data_of(const Btree_st& s) {
  return s.c_L == 255 ? std::string(s.c) : std::string(s.c, s.c_L);
}

class Driver {
 public:
  Driver(btree_ops::Reader& in, bool file) : in_(in), file_(file) { open(file ? 1 : 0); }

  void run() {
    while (!in_.done() && work_ < max_work) {
      switch (in_.byte() % btree_ops::n_ops) {
        case btree_ops::put: put(); break;
        case btree_ops::remove: remove(key()); break;
        case btree_ops::lookups: lookups(key()); break;
        case btree_ops::range: range(); break;
        case btree_ops::compare: compare(); break;
        case btree_ops::bulk: bulk(); break;
        case btree_ops::reopen: reopen(); break;
        case btree_ops::long_value: long_value(); break;
        default: t_->commit();
      }
    }
    compare();
  }

 private:
  // Bounds the steps of one input (bulk keys, walked keys), so that a long
  // sequence stays a fraction of a second.
  static constexpr long max_work = 20000;
  long work_ = 0;
  btree_ops::Reader& in_;
  bool file_;
  std::unique_ptr<Btree> t_;
  Model model_;
  std::map<std::string, unsigned> surr_;
  std::vector<std::string> keys_;

  void open(int how) {
    t_ = file_ ? std::make_unique<Btree>(file_name, how) : std::make_unique<Btree>();
    t_->quiet = 1;
  }

  std::string key() {
    uint8_t kind = in_.byte();
    std::string k;
    switch (kind / 64) {
      case 0:
        if (!keys_.empty()) return keys_[in_.byte() % keys_.size()];
        k = "fresh";
        break;
      case 1: k = in_.bytes(kind % 64 + 1); break;
      case 2: {
        k = btree_ops::prefix(kind);
        int n = in_.byte() % 12 + 1;
        for (int i = 0; i < n; i++) k += (char)('0' + in_.byte() % 10);
        break;
      }
      default:
        for (int i = 0; i < 190 + kind % 64 && i < 252; i++) k += (char)('a' + in_.byte() % 3);
    }
    return k;
  }

  std::string data() {
    uint8_t n = in_.byte();
    int len = n < 200 ? n % 40 : 150 + (n - 200) * 2;
    std::string d;
    for (int i = 0; i < len && i < 252; i++) d += (char)('A' + (i * 7 + n) % 26);
    return d;
  }

  // Records what an insertion or update answered, checked against the model.
  void record(char mode, const std::string& k, const std::string& d, char r, unsigned before) {
    bool had = model_.count(k);
    if ((mode == 'i' && had) || (mode == 'u' && !had)) {
      if (r != 0) fuzz::finding("put: refused mode answered", std::string(1, mode));
      return;
    }
    if (r != (had ? 'u' : 'i')) fuzz::finding("put: wrong answer", std::string(1, mode));
    if (!had) {
      if (t_->surr != before + 1) fuzz::finding("put: surrogate not the next one");
      surr_[k] = t_->surr;
      keys_.push_back(k);
    } else if (t_->surr != surr_[k]) {
      fuzz::finding("put: update changed the surrogate");
    }
    model_[k] = d;
  }

  void put() {
    char mode = "ieeu"[in_.byte() % 4];
    std::string k = key(), d = data();
    unsigned before = t_->descr->surr;
    char r = t_->Ins(mode, k.data(), (int)k.size(), d.data(), (int)d.size(), 2);
    record(mode, k, d, r, before);
  }

  void long_value() {
    // The C-string form sees the key up to its first NUL.
    std::string k = key();
    k.resize(k.find('\0') == std::string::npos ? k.size() : k.find('\0'));
    if (k.empty()) return;
    int len = 253 + in_.byte() * 3;
    std::string d;
    for (int i = 0; i < len; i++) d += (char)('a' + i % 26);
    unsigned before = t_->descr->surr;
    record('e', k, d, t_->StrIns('e', k.c_str(), d.c_str()), before);
  }

  void bulk() {
    int n = (in_.byte() % 128 + 1) * 8;
    int shape = in_.byte();
    work_ += n;
    for (int i = 0; i < n; i++) {
      std::string k = btree_ops::bulk_key(shape, i);
      std::string d = std::to_string(i);
      unsigned before = t_->descr->surr;
      record('e', k, d, t_->Ins('e', k.data(), (int)k.size(), d.data(), (int)d.size(), 2), before);
    }
  }

  void remove(const std::string& k) {
    unsigned r = t_->Rem(k.data(), (int)k.size());
    auto it = model_.find(k);
    if (it == model_.end()) {
      if (r != 0) fuzz::finding("remove: removed a key that is not there");
      return;
    }
    if (r != surr_[k]) fuzz::finding("remove: wrong surrogate");
    model_.erase(it);
  }

  // Rem_GE_LE over neighbouring keys, which empties whole pages.
  void range() {
    std::string k = key();
    int count = in_.byte() * 2;
    auto from = model_.lower_bound(k);
    if (from == model_.end() || from->first.find('\0') != std::string::npos) return;
    auto to = from;
    for (int n = count; n > 0 && std::next(to) != model_.end(); n--) ++to;
    if (to->first.find('\0') != std::string::npos) return;
    int want = (int)std::distance(from, to) + 1;
    std::string lo = from->first, hi = to->first;
    if (t_->Rem_GE_LE(lo.c_str(), hi.c_str()) != want) fuzz::finding("Rem_GE_LE: wrong count");
    model_.erase(from, std::next(to));
  }

  void expect(unsigned x, const Btree_st& s, Model::const_iterator it, const char* what) {
    if (it == model_.end()) {
      if (x != 0) fuzz::finding(what, "found a key the model lacks");
      return;
    }
    if (x == 0) fuzz::finding(what, "missed a key");
    if (key_of(s) != it->first) fuzz::finding(what, "wrong key");
    if (data_of(s) != it->second) fuzz::finding(what, "wrong data");
    if (x != surr_[it->first]) fuzz::finding(what, "wrong surrogate");
  }

  void lookups(const std::string& k) {
    Btree_st s;
    const char* kc = k.data();
    int kL = (int)k.size();
    auto ge = model_.lower_bound(k), gr = model_.upper_bound(k);
    auto hit = model_.find(k);
    expect(t_->Get(kc, kL, s), s, hit, "Get");
    if (t_->contains(kc, kL) != (hit == model_.end() ? 0u : surr_[k]))
      fuzz::finding("contains", "wrong answer");
    unsigned x = t_->Getmin_GE(s, kc, kL);
    expect(x, s, ge, "Getmin_GE");
    auto it = ge;
    for (int i = 0; i < 3 && x; i++) {
      ++it;
      x = t_->Next(s);
      expect(x, s, it, "Next");
    }
    expect(t_->Getmin_GR(s, kc, kL), s, gr, "Getmin_GR");
    auto le = gr == model_.begin() ? model_.end() : std::prev(gr);
    x = t_->Getmax_LE(s, kc, kL);
    expect(x, s, le, "Getmax_LE");
    for (int i = 0; i < 3 && x; i++) {
      le = le == model_.begin() ? model_.end() : std::prev(le);
      x = t_->Prev(s);
      expect(x, s, le, "Prev");
    }
    expect(t_->Getmax_LS(s, kc, kL), s, ge == model_.begin() ? model_.end() : std::prev(ge),
           "Getmax_LS");
  }

  void compare() {
    work_ += 2 * (long)model_.size();
    Btree_st s;
    auto it = model_.cbegin();
    for (unsigned x = t_->GetFirst(s); x; x = t_->Next(s), ++it) {
      if (it == model_.end()) fuzz::finding("walk", "more keys in the tree than in the model");
      expect(x, s, it, "GetFirst/Next");
    }
    if (it != model_.end()) fuzz::finding("walk", "fewer keys in the tree than in the model");
    auto rit = model_.crbegin();
    for (unsigned x = t_->GetLast(s); x; x = t_->Prev(s), ++rit) {
      if (rit == model_.crend() || key_of(s) != rit->first) fuzz::finding("walk back", "differs");
    }
    if (rit != model_.crend()) fuzz::finding("walk back", "fewer keys");
    if (t_->number_of_elements() != (int)model_.size()) fuzz::finding("number_of_elements");
  }

  void reopen() {
    if (!file_) return compare();
    t_.reset();
    open(4);
    compare();
  }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzz::init(argc, argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  btree_ops::Reader in(data, size);
  bool file = in.byte() & 1;
  try {
    Driver(in, file).run();
  } catch (const char* report) {
    fuzz::finding("the store refused a valid operation:", report);
  }
  return 0;
}
