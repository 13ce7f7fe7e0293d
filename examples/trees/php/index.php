Shop front page: lists the catalogue and greets the visitor.
<?php
require_once 'lib/Catalogue.php';
include 'pages/header.php';

$catalogue = new Catalogue();
$visitor = isset($_GET['name']) ? $_GET['name'] : "guest";
?>
<!-- the greeting is written by PHP -->
<h1>Welcome</h1>
<?php
echo "Hello \"$visitor\", see <b>our</b> offers";
foreach ($catalogue->items() as $item) {
    print_item($item);
}
$footer = <<<HTML
<p>Prices include tax. ?> is no end here.</p>
HTML;
echo $footer;
?>
