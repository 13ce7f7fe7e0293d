<html><head><title>Shop</title></head>
<body>
<? $today = date('Y-m-d'); ?>
<div class="top">Today: <?= $today ?></div>
