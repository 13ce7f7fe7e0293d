<%@ page import="shop.report.*" %>
<html><body>
<h2>Sales by month</h2>
<applet code="shop.report.SalesChart.class" width="400" height="300">
  <param name="months" value="12">
</applet>
</body></html>
