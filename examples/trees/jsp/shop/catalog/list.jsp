<%--
  The product list of the shop: one row per article of the chosen group,
  with its price and a link to the order form.
--%>
<%@ page import="shop.model.*, shop.util.Money, java.util.List" %>
<%@ include file="../common/header.jsp" %>
<%
   // The group comes from the request; the default group is "all".
   String group = request.getParameter("group");
   if (group == null) group = "all";
   List articles = Catalog.articlesOf(group);
%>
<h2>Articles of <%= group %></h2>
<table class="list">
<% for (int i = 0; i < articles.size(); i++) {
     Article a = (Article) articles.get(i); %>
  <tr><td><%= a.getName() %></td>
      <td align="right"><%= Money.format(a.getPrice()) %></td>
      <td><a href="order.jsp?nr=<%= a.getNr() %>" onclick="return checkOrder(this)">order</a></td></tr>
<% } %>
</table>
<%-- START OF PROTECTED REGION: generated paging, kept by the generator --%>
<%-- END OF PROTECTED REGION --%>
<%@ include file="../common/footer.jsp" %>
