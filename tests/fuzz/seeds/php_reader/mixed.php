intro
<?php
require_once "a.php";
class A { public function f() { echo "x\"y"; } }
$h = <<<EOT
?> x
EOT;
?>
<!-- c --><p>t</p>
<? $v = 1 ?><?= $v ?>
