import java.awt.BorderLayout;
import java.awt.Color;
import java.awt.FlowLayout;
import java.awt.GridLayout;
import javax.swing.*;
import javax.swing.tree.DefaultMutableTreeNode;

/** A window with one of each thing that Swing has. Its title says what was done last. */
public final class Demo {
  private static final int ROWS = 300;
  private static final JFrame frame = new JFrame("Swing Demo");

  private Demo() {}

  public static void main(String[] arguments) {
    SwingUtilities.invokeLater(Demo::show);
  }

  private static void did(String what) {
    frame.setTitle("Did " + what);
  }

  private static <B extends AbstractButton> B reporting(B button, String what) {
    button.addActionListener(event -> did(what));
    return button;
  }

  private static void show() {
    frame.setDefaultCloseOperation(JFrame.EXIT_ON_CLOSE);
    JMenuBar bar = new JMenuBar();
    for (String title : new String[] {"File", "Arrange"}) {
      JMenu menu = new JMenu(title);
      menu.add(new JCheckBoxMenuItem("Import"));
      bar.add(menu);
    }
    frame.setJMenuBar(bar);
    JPanel left = new JPanel(new FlowLayout());
    left.add(form());
    frame.add(left, BorderLayout.WEST);
    frame.add(tabs(), BorderLayout.CENTER);
    frame.setBounds(120, 80, 900, 600);
    frame.setVisible(true);
  }

  private static JComponent labelled(JPanel form, String text, JComponent field) {
    JLabel label = new JLabel(text);
    label.setLabelFor(field);
    form.add(label);
    return field;
  }

  private static JPanel form() {
    JPanel form = new JPanel(new GridLayout(0, 2, 8, 8));
    form.add(labelled(form, "Your name", new JTextField("typed name")));
    form.add(labelled(form, "Secret", new JPasswordField("correct horse")));
    JButton hidden = new JButton("Never Shown");
    hidden.setVisible(false);
    JCheckBox agree = new JCheckBox("I agree");
    agree.addActionListener(event -> did("agree " + agree.isSelected()));
    JComboBox<String> colour = new JComboBox<>(new String[] {"Crimson", "Turquoise", "Lavender"});
    colour.addActionListener(event -> did("colour " + colour.getSelectedItem()));
    JComboBox<String> place = new JComboBox<>(new String[] {"Berlin", "Lisbon"});
    place.setEditable(true);
    JButton ask = new JButton("Ask");
    ask.addActionListener(event -> ask());
    JButton offer = new JButton("Offer");
    offer.addActionListener(event -> offer(offer));
    for (JComponent part : new JComponent[] {
        plainButton(), hidden, agree, new JRadioButton("Small size", true), colour, place,
        new JSpinner(new SpinnerNumberModel(17, 0, 99, 1)), ask, offer}) {
      form.add(part);
    }
    return form;
  }

  /** All of it in a colour that is nowhere else. */
  private static JButton plainButton() {
    JButton plain = reporting(new JButton("Plain Button"), "plain");
    plain.setBackground(new Color(0x20a041));
    plain.setContentAreaFilled(false);
    plain.setOpaque(true);
    plain.setBorderPainted(false);
    plain.setFocusPainted(false);
    return plain;
  }

  private static JTabbedPane tabs() {
    JTabbedPane tabs = new JTabbedPane();
    tabs.addTab("Names", list());
    tabs.addTab("Numbers", table());
    tabs.addTab("Folders", tree());
    tabs.addChangeListener(event -> did("tab " + tabs.getTitleAt(tabs.getSelectedIndex())));
    return tabs;
  }

  private static JScrollPane list() {
    String[] items = new String[ROWS];
    for (int i = 0; i < ROWS; ++i) {
      items[i] = "Item " + (i + 1);
    }
    JList<String> list = new JList<>(items);
    list.addListSelectionListener(event -> did("list " + list.getSelectedValue()));
    return new JScrollPane(list);
  }

  private static JScrollPane table() {
    Object[][] cells = new Object[ROWS][];
    for (int i = 0; i < ROWS; ++i) {
      cells[i] = new Object[] {"Row " + (i + 1), i * i, i % 2 == 0};
    }
    JTable table = new JTable(cells, new Object[] {"Word", "Square", "Even"});
    table.getSelectionModel().addListSelectionListener(event -> did("row " + (table.getSelectedRow() + 1)));
    return new JScrollPane(table);
  }

  private static JScrollPane tree() {
    DefaultMutableTreeNode root = new DefaultMutableTreeNode("All");
    for (String name : new String[] {"Fruit", "Stone"}) {
      DefaultMutableTreeNode kind = new DefaultMutableTreeNode(name);
      kind.add(new DefaultMutableTreeNode(name + " Kind"));
      root.add(kind);
    }
    JTree tree = new JTree(root);
    tree.expandRow(1);
    tree.addTreeSelectionListener(event -> did("tree " + event.getPath().getLastPathComponent()));
    return new JScrollPane(tree);
  }

  private static void ask() {
    JDialog dialog = new JDialog(frame, "Question", true);
    JButton yes = reporting(new JButton("Certainly"), "certainly");
    yes.addActionListener(event -> dialog.dispose());
    dialog.setLayout(new FlowLayout());
    dialog.add(new JLabel("Shall it be done?"));
    dialog.add(yes);
    dialog.setBounds(700, 400, 300, 120);
    dialog.setVisible(true);
  }

  private static void offer(JComponent at) {
    JPopupMenu menu = new JPopupMenu();
    menu.add(new JMenuItem("First Offer"));
    menu.add(reporting(new JMenuItem("Second Offer"), "second offer"));
    // Beyond the edge of the window, so that it gets one of its own.
    menu.show(at, -60, at.getHeight());
  }
}
