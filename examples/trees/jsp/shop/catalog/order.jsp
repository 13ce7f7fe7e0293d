<%@ page import="shop.model.Article, shop.model.Order" errorPage="../common/error.jsp" %>
<%@ include file="../common/header.jsp" %>
<%
   /* One article per order line; the count is checked before the order is kept. */
   Article a = Catalog.article(Integer.parseInt(request.getParameter("nr")));
   char quote = '"';
%>
<form method="post" action="order.jsp">
  <input type="hidden" name="nr" value="<%= a.getNr() %>">
  Count: <input type="text" name="count" size="3" value="1">
  <input type="submit" value="Order">
</form>
<p>Screens of 24" and more are sent by freight.</p>
<jsp:include page="../common/footer.jsp" />
