// The order form's checks in the browser.
function checkQuantity(field) {
  var n = parseInt(field.value, 10);
  if (isNaN(n) || n < 1) {
    alert("Please give a quantity of at least 1.");
    return false;
  }
  return true;
}

function totalOf(rows) {
  var sum = 0;
  for (var i = 0; i < rows.length; i++) sum += rows[i].price * rows[i].quantity;
  return sum;
}
