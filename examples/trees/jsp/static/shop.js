// Scripts of the shop pages.
function checkOrder (link) {
  return confirm("Order this article?");
}

function showHelp () {
  window.open("about.html", "help");
}
