<?php
require 'Item.php';

/* The articles on offer, read from a fixed list. */
class Catalogue
{
    private $items = array();

    public function __construct()
    {
        $this->items[] = new Item('Lamp', 24.5);
        $this->items[] = new Item('Chair', 80);
    }

    public function items()
    {
        return $this->items;
    }

    public static function count_of($list)
    {
        return count($list);
    }
}

function print_item($item)
{
    echo "<li>" . $item->label() . "</li>";
}
