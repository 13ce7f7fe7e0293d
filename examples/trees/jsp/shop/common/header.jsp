<html>
<head>
  <title>Shop</title>
  <link rel="stylesheet" href="../../static/shop.css">
  <script src="../../static/shop.js"></script>
</head>
<body>
<%@ include file="menu.html" %>
