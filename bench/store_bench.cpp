// Compares the Btree with std::map and SQLite: N random keys of 16 to 40
// printable bytes with a short value are inserted, looked up in another
// random order, and iterated in key order.  One line per store, operation
// and N: "store_bench <store> <op> <N> <seconds>", and the table again at
// the end.
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "runtime/safe_uts.h"
#include "store/Btree.h"

namespace {

struct Result {
  std::string store, op;
  long n;
  double sec;
};
std::vector<Result> results;

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void report(const char* store, const char* op, long n, double sec) {
  printf("\nstore_bench %s %s %ld %.3f\n", store, op, n, sec);
  fflush(stdout);
  results.push_back({store, op, n, sec});
}

void fail(const char* what) {
  fprintf(stderr, "\nstore_bench: %s\n", what);
  exit(1);
}

struct Data {
  std::vector<std::string> keys, values;
  std::vector<int> order;  // lookup order
};

Data make_data(long n, unsigned seed) {
  Data d;
  std::mt19937_64 rng(seed);
  d.keys.reserve(n);
  d.values.reserve(n);
  for (long i = 0; i < n; i++) {
    int len = 16 + (int)(rng() % 25);
    std::string k(len, ' ');
    for (char& c : k) c = (char)('!' + rng() % 94);
    d.keys.push_back(k);
    char v[16];
    snprintf(v, sizeof v, "v%ld", i);
    d.values.push_back(v);
  }
  d.order.resize(n);
  for (long i = 0; i < n; i++) d.order[i] = (int)i;
  std::shuffle(d.order.begin(), d.order.end(), rng);
  return d;
}

void bench_btree(const char* store, Btree& t, const Data& d) {
  long n = (long)d.keys.size();
  double t0 = now();
  for (long i = 0; i < n; i++)
    t.StrIns('e', d.keys[i].data(), (int)d.keys[i].size(), d.values[i].data(),
             (int)d.values[i].size());
  t.commit();
  report(store, "insert", n, now() - t0);

  Btree_st s;
  t0 = now();
  long found = 0;
  for (int i : d.order) found += t.Get(d.keys[i].data(), (int)d.keys[i].size(), s) != 0;
  report(store, "lookup", n, now() - t0);
  if (found != n) fail("btree lookup misses keys");

  t0 = now();
  long cnt = 0;
  for (unsigned x = t.GetFirst(s); x; x = t.Next(s)) cnt++;
  report(store, "iterate", n, now() - t0);
  if (cnt > n) fail("btree iteration returns too many keys");
}

void bench_map(const Data& d) {
  long n = (long)d.keys.size();
  std::map<std::string, std::string> m;
  double t0 = now();
  for (long i = 0; i < n; i++) m[d.keys[i]] = d.values[i];
  report("std-map", "insert", n, now() - t0);
  t0 = now();
  long found = 0;
  for (int i : d.order) found += m.find(d.keys[i]) != m.end();
  report("std-map", "lookup", n, now() - t0);
  if (found != n) fail("map lookup misses keys");
  t0 = now();
  long cnt = 0, bytes = 0;
  for (auto& kv : m) {
    cnt++;
    bytes += (long)kv.first.size();
  }
  report("std-map", "iterate", n, now() - t0);
  if (cnt > n || bytes < 0) fail("map iteration");
}

void check(int rc, sqlite3* db, const char* what) {
  if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW) {
    fprintf(stderr, "\nsqlite %s: %s\n", what, sqlite3_errmsg(db));
    exit(1);
  }
}

void bench_sqlite(const char* store, const char* file, const Data& d) {
  long n = (long)d.keys.size();
  sqlite3* db = nullptr;
  check(sqlite3_open(file, &db), db, "open");
  check(sqlite3_exec(db, "PRAGMA journal_mode=OFF", nullptr, nullptr, nullptr), db, "pragma");
  check(sqlite3_exec(db, "CREATE TABLE t(k TEXT PRIMARY KEY, v TEXT) WITHOUT ROWID", nullptr,
                     nullptr, nullptr),
        db, "create");
  sqlite3_stmt* ins = nullptr;
  check(sqlite3_prepare_v2(db, "INSERT OR REPLACE INTO t VALUES(?, ?)", -1, &ins, nullptr), db,
        "prepare");
  double t0 = now();
  check(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr), db, "begin");
  for (long i = 0; i < n; i++) {
    sqlite3_bind_text(ins, 1, d.keys[i].data(), (int)d.keys[i].size(), SQLITE_STATIC);
    sqlite3_bind_text(ins, 2, d.values[i].data(), (int)d.values[i].size(), SQLITE_STATIC);
    check(sqlite3_step(ins), db, "insert");
    sqlite3_reset(ins);
  }
  check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
  report(store, "insert", n, now() - t0);
  sqlite3_finalize(ins);

  // Lookups and the iteration run inside one read transaction, so that
  // SQLite does not take and release its file lock for every statement.
  check(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr), db, "begin");
  sqlite3_stmt* sel = nullptr;
  check(sqlite3_prepare_v2(db, "SELECT v FROM t WHERE k = ?", -1, &sel, nullptr), db, "prepare");
  t0 = now();
  long found = 0;
  for (int i : d.order) {
    sqlite3_bind_text(sel, 1, d.keys[i].data(), (int)d.keys[i].size(), SQLITE_STATIC);
    if (sqlite3_step(sel) == SQLITE_ROW) found++;
    sqlite3_reset(sel);
  }
  report(store, "lookup", n, now() - t0);
  sqlite3_finalize(sel);
  if (found != n) fail("sqlite lookup misses keys");

  sqlite3_stmt* all = nullptr;
  check(sqlite3_prepare_v2(db, "SELECT k, v FROM t ORDER BY k", -1, &all, nullptr), db, "prepare");
  t0 = now();
  long cnt = 0;
  while (sqlite3_step(all) == SQLITE_ROW) {
    cnt++;
    if (!sqlite3_column_text(all, 0)) fail("sqlite iteration");
  }
  report(store, "iterate", n, now() - t0);
  sqlite3_finalize(all);
  check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
  sqlite3_close(db);
}

}  // namespace

int main(int argc, char** argv) {
  // Optional arguments: one N, and the stores to run (default all).
  std::vector<long> sizes = {100000, 1000000};
  if (argc > 1) sizes = {atol(argv[1])};
  auto want = [&](const char* store) {
    if (argc < 3) return true;
    for (int i = 2; i < argc; i++)
      if (!strcmp(argv[i], store)) return true;
    return false;
  };
  std::string dir = safe_ut.tmp_dir();
  for (long n : sizes) {
    Data d = make_data(n, 20240 + (unsigned)n);
    if (want("btree-mem")) {
      Btree t;
      t.quiet = 1;
      bench_btree("btree-mem", t, d);
    }
    if (want("btree-file")) {
      std::string f = dir + "/bench_" + std::to_string(n) + ".bt";
      Btree t(f.c_str(), 1);
      t.quiet = 1;
      bench_btree("btree-file", t, d);
    }
    if (want("btree-pread")) {  // the file tree without a view: a system call per page
      std::string f = dir + "/bench_pread_" + std::to_string(n) + ".bt";
      Btree t(f.c_str(), 1);
      t.quiet = 1;
      t.no_view = 1;
      bench_btree("btree-pread", t, d);
    }
    if (want("std-map")) bench_map(d);
    if (want("sqlite-mem")) bench_sqlite("sqlite-mem", ":memory:", d);
    std::string f = dir + "/bench_" + std::to_string(n) + ".sqlite";
    if (want("sqlite-file")) bench_sqlite("sqlite-file", f.c_str(), d);
  }
  printf("\n\n%-12s %-8s %9s %9s\n", "store", "op", "N", "seconds");
  for (const Result& r : results)
    printf("%-12s %-8s %9ld %9.3f\n", r.store.c_str(), r.op.c_str(), r.n, r.sec);
  return 0;
}
