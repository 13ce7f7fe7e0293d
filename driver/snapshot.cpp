// The snapshot of a Word document: found in the "publish" folder beside it,
// or made by the office suite when that is installed, and cleaned into
// xs/<n>/doc.htm.  In clean mode the publish folder is removed instead.
#include <string>

#include "driver/des_text.h"
#include "driver/doc_des.h"
#include "engine/ut_htm.h"
#include "runtime/exec_ut.h"
#include "runtime/safe_uts.h"

using namespace des;

void DocDes::take_snapshot(int n, char c, const std::string& rest) {
  comm& r = web.comms[n];
  std::string dir = folder_of(r.src);
  std::string file = base_of(r.src);
  std::string stem = file.substr(0, file.size() - ext_of(file).size());
  std::string publish = safe_ut.real_name((dir + "/publish").c_str());
  if (clean) {
    // The snapshots of the installation are never removed.
    if (safe_ut.ok_is_a(publish.c_str()) == 'd' &&
        absolute(publish).rfind(web.inst + "/", 0) != 0) {
      safe_ut.rm_tree(publish.c_str());
      if (safe_ut.ok_is_a(publish.c_str()) != 'n')
        exut.fail(__LINE__, SRC, "System: cannot rm: %s", publish.c_str());
    }
    return;
  }
  std::string lext = lower(ext_of(file));
  if (lext == ".htm" || lext == ".html") {
    r.com = 'h';
    r.htm = r.src;
  } else {
    std::string wanted = publish + "/" + stem + ".htm";
    std::string snap = safe_ut.real_name(wanted.c_str());
    if (safe_ut.ok_is_a(snap.c_str()) != 'f' && make_snapshot(r.src, publish, wanted))
      snap = safe_ut.real_name(wanted.c_str());
    if (safe_ut.ok_is_a(snap.c_str()) != 'f') {
      tree_put(web.remarks, cur_line, "?HTML Version not found");
      printf("\nApp error: -%c %s\n           not found: %s\n", c, rest.c_str(), wanted.c_str());
      count_error();
      return;
    }
    r.htm = snap;
  }
  clean_snapshot(n, r.htm);
}

// Makes the missing snapshot of a document with the office suite, when it is
// installed.  The source goes through a fixed name in the run's temporary
// folder, so that no name of the user ever stands on a command line.
bool DocDes::make_snapshot(const std::string& src, const std::string& publish,
                           const std::string& snapshot) {
  enter("DocDes.make_snapshot");
  if (safe_ut.find_on_path("soffice").empty()) return false;
  std::string tmp = safe_ut.tmp_dir();
  std::string work = tmp + "/x_scr";
  safe_ut.rm_and_make_dir(work.c_str());
  std::string in = work + "/x_scr" + lower(ext_of(src));
  safe_ut.copy_file(in.c_str(), src.c_str());
  snprintf(comm_buf, sizeof comm_buf, "soffice --headless --convert-to html --outdir \"%s\" \"%s\"",
           work.c_str(), in.c_str());
  safe_ut.system(comm_buf);
  std::string out = work + "/x_scr.html";
  if (safe_ut.ok_is_a(out.c_str()) != 'f') return false;
  safe_ut.ensure_dir(publish.c_str());
  safe_ut.copy_file(snapshot.c_str(), out.c_str());
  // Pictures of the snapshot go where the word processor puts them.
  std::string stem = base_of(snapshot);
  stem = stem.substr(0, stem.size() - 4);
  for (const std::string& name : safe_ut.list_dir(work.c_str()))
    if (begins(name, "x_scr_")) {
      std::string files = publish + "/" + stem + "_files";
      safe_ut.ensure_dir(files.c_str());
      safe_ut.copy_file((files + "/" + name).c_str(), (work + "/" + name).c_str());
    }
  return true;
}

// xs/<n>/doc.htm: the snapshot in windows-1252, cleaned; its styles go to
// xs/<n>/xxx.css.
void DocDes::clean_snapshot(int n, const std::string& htm) {
  comm& r = web.comms[n];
  std::string dir = "xs/" + r.nr;
  std::string doc = dir + "/doc.htm";
  // A fresh file, writable also when the snapshot is not.
  safe_ut.copy_range(doc.c_str(), htm.c_str(), 0, safe_ut.file_size(htm.c_str()));
  ut_htm::to_windows1252(doc.c_str());
  extract_css((dir + "/xxx.css").c_str(), doc.c_str());
  ut->ers_schmutz(doc.c_str(), safe_ut.file_size(doc.c_str()), "", r.com);
  r.docHtm = doc;
}
