import java.awt.BorderLayout;
import java.awt.Color;
import java.awt.Dimension;
import java.awt.FlowLayout;
import java.awt.GridLayout;
import javax.swing.AbstractButton;
import javax.swing.ButtonGroup;
import javax.swing.JButton;
import javax.swing.JCheckBox;
import javax.swing.JCheckBoxMenuItem;
import javax.swing.JComboBox;
import javax.swing.JComponent;
import javax.swing.JDialog;
import javax.swing.JFrame;
import javax.swing.JLabel;
import javax.swing.JList;
import javax.swing.JMenu;
import javax.swing.JMenuBar;
import javax.swing.JMenuItem;
import javax.swing.JPanel;
import javax.swing.JPasswordField;
import javax.swing.JPopupMenu;
import javax.swing.JProgressBar;
import javax.swing.JRadioButton;
import javax.swing.JScrollPane;
import javax.swing.JSlider;
import javax.swing.JSpinner;
import javax.swing.JTabbedPane;
import javax.swing.JTable;
import javax.swing.JTextArea;
import javax.swing.JTextField;
import javax.swing.JToggleButton;
import javax.swing.JTree;
import javax.swing.SpinnerNumberModel;
import javax.swing.SwingUtilities;
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
    frame.setJMenuBar(menuBar());
    frame.add(form(), BorderLayout.WEST);
    frame.add(tabs(), BorderLayout.CENTER);
    frame.setBounds(120, 80, 900, 600);
    frame.setVisible(true);
  }

  private static JMenuBar menuBar() {
    JMenuBar bar = new JMenuBar();
    JMenu file = new JMenu("File");
    file.add(reporting(new JMenuItem("Import"), "import"));
    file.add(reporting(new JCheckBoxMenuItem("Backup"), "backup"));
    bar.add(file);
    JMenu edit = new JMenu("Arrange");
    edit.add(new JMenuItem("Sideways"));
    bar.add(edit);
    return bar;
  }

  private static JPanel form() {
    JPanel form = new JPanel(new GridLayout(0, 2, 8, 8));
    JTextField name = new JTextField("typed name");
    JLabel caption = new JLabel("Your name");
    caption.setLabelFor(name);
    add(form, caption, name);
    JPasswordField password = new JPasswordField("correct horse");
    JLabel secret = new JLabel("Secret");
    secret.setLabelFor(password);
    add(form, secret, password);

    JButton plain = reporting(new JButton("Plain Button"), "plain");
    plain.setBackground(new Color(0x20a041));
    plain.setContentAreaFilled(false);
    plain.setOpaque(true);
    plain.setBorderPainted(false);
    plain.setFocusPainted(false);
    JButton disabled = new JButton("Disabled Button");
    disabled.setEnabled(false);
    add(form, plain, disabled);
    JButton hidden = new JButton("Never Shown");
    hidden.setVisible(false);
    form.add(hidden);

    JCheckBox agree = new JCheckBox("I agree");
    agree.addActionListener(event -> did("agree " + agree.isSelected()));
    add(form, agree, reporting(new JToggleButton("Pinned"), "pinned"));
    JRadioButton small = reporting(new JRadioButton("Small size", true), "small");
    JRadioButton large = reporting(new JRadioButton("Large size"), "large");
    ButtonGroup sizes = new ButtonGroup();
    sizes.add(small);
    sizes.add(large);
    add(form, small, large);

    JComboBox<String> colour = new JComboBox<>(new String[] {"Crimson", "Turquoise", "Lavender"});
    colour.addActionListener(event -> did("colour " + colour.getSelectedItem()));
    JComboBox<String> place = new JComboBox<>(new String[] {"Berlin", "Lisbon"});
    place.setEditable(true);
    add(form, colour, place);
    JSlider volume = new JSlider(0, 100, 30);
    volume.getAccessibleContext().setAccessibleName("Volume");
    add(form, volume, new JSpinner(new SpinnerNumberModel(17, 0, 99, 1)));
    JProgressBar progress = new JProgressBar();
    progress.setValue(40);
    JButton iconOnly = reporting(new JButton(), "tip");
    iconOnly.setToolTipText("Tip Only");
    add(form, progress, iconOnly);
    JButton ask = new JButton("Ask");
    ask.addActionListener(event -> ask());
    JButton offer = new JButton("Offer");
    offer.addActionListener(event -> offer(offer));
    add(form, ask, offer);
    JPanel top = new JPanel(new FlowLayout());
    top.add(form);
    return top;
  }

  private static void add(JPanel form, JComponent left, JComponent right) {
    form.add(left);
    form.add(right);
  }

  private static JTabbedPane tabs() {
    JTabbedPane tabs = new JTabbedPane();
    tabs.addTab("Names", list());
    tabs.addTab("Numbers", table());
    tabs.addTab("Folders", tree());
    tabs.addTab("Words", words());
    tabs.addChangeListener(event -> did("tab " + tabs.getTitleAt(tabs.getSelectedIndex())));
    return tabs;
  }

  private static JPanel words() {
    JPanel words = new JPanel(new BorderLayout());
    words.add(reporting(new JButton("Count Words"), "count"), BorderLayout.NORTH);
    words.add(new JScrollPane(new JTextArea("some notes\nof two lines")), BorderLayout.CENTER);
    return words;
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
    JButton yes = new JButton("Certainly");
    yes.addActionListener(event -> {
      did("certainly");
      dialog.dispose();
    });
    dialog.setLayout(new FlowLayout());
    dialog.add(new JLabel("Shall it be done?"));
    dialog.add(yes);
    dialog.setPreferredSize(new Dimension(300, 120));
    dialog.pack();
    dialog.setLocation(700, 400);
    dialog.setVisible(true);
  }

  private static void offer(JComponent at) {
    JPopupMenu menu = new JPopupMenu();
    menu.add(reporting(new JMenuItem("First Offer"), "first offer"));
    menu.add(reporting(new JMenuItem("Second Offer"), "second offer"));
    // Beyond the edge of the window, so that it gets one of its own.
    menu.show(at, -60, at.getHeight());
  }
}
