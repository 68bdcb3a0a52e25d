package com.morrow.scrivel;

import java.util.List;
import java.util.Set;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** The first walk over a script: finds its names and what is assigned to them, and refuses what is not translated. */
final class Binding implements NodeVisitor {
    /** Properties that make functions run without a call: of descriptors, and of objects. */
    private static final Set<String> HOOKS = Set.of("get", "set", "valueOf", "toString", "join");

    private final Source source;
    private final Diagnostics errors;
    private final Refusals refusals;
    private final Names names;
    private AstNode descending;

    Binding(Source source, Diagnostics errors) {
        this.source = source;
        this.errors = errors;
        refusals = new Refusals(errors);
        names = new Names(errors, refusals);
    }

    Names walk(AstRoot root) {
        FunctionInfo main = names.enter(root, null);
        names.open(root);
        main.scope = main.body = names.scope;
        descend(root);
        names.resolve();
        return names;
    }

    @Override
    public boolean visit(AstNode node) {
        if (node != descending) {
            if (node instanceof Loop) node.putProp(Names.BEGINS, names.tick());
            return refusals.check(node) && parts(node);
        }
        descending = null;
        return true;
    }

    /** Visits the parts of a node that has been dealt with itself. */
    private void descend(AstNode node) {
        descending = node;
        node.visit(this);
    }

    /** Deals with the parts of a node; true when its children are to be visited as they are. */
    private boolean parts(AstNode node) {
        switch (node.getType()) {
            case Token.NAME -> name((Name) node, false);
            case Token.STRING -> text(((StringLiteral) node).getValue());
            case Token.TEMPLATE_CHARS -> text(((TemplateCharacters) node).getValue());
            case Token.THIS -> {
                FunctionInfo owner = names.function.ofThis();
                owner.usesThis = true;
                names.sharesGlobals |= owner.node == null;
            }
            case Token.GETPROP -> member((PropertyGet) node, false);
            case Token.DELPROP -> {
                AstNode operand = Expressions.bare(((UnaryExpression) node).getOperand());
                if (operand instanceof PropertyGet member) member(member, true);
                else descend(node);
            }
            case Token.FUNCTION -> function((FunctionNode) node);
            case Token.VAR -> declaration((VariableDeclaration) node);
            case Token.INC, Token.DEC -> target(((UpdateExpression) node).getOperand(), null, node);
            case Token.ARRAYLIT -> {
                names.function.constants.add(node);
                return true;
            }
            case Token.OBJECTLIT -> objectLiteral((ObjectLiteral) node);
            case Token.FOR -> forLoop((Loop) node);
            case Token.BLOCK -> {
                names.open(node);
                descend(node);
                names.close();
            }
            case Token.SWITCH -> switchStatement((SwitchStatement) node);
            case Token.TRY -> tryStatement((TryStatement) node);
            case Token.BREAK, Token.CONTINUE, Token.CALL, Token.NEW, Token.THROW, Token.RETURN -> {
                if (node instanceof ReturnStatement returned) names.function.real().returns.add(returned);
                descend(node);
                names.function.real().leaves.add(names.tick());
            }
            case Token.OR -> {
                note((InfixExpression) node);
                return true;
            }
            default -> {
                if (!(node instanceof Assignment assignment)) return true;
                assignment(assignment);
            }
        }
        return false;
    }

    // -- expressions

    /** Text may be the name of a property. */
    private void text(String text) {
        names.function.constants.add(text);
        names.hooks |= HOOKS.contains(text);
        names.mathShared |= text.equals("Math");
        names.sharesGlobals |= text.equals(Refusals.GLOBAL);
    }

    private void name(Name name, boolean beforeDot) {
        String text = name.getIdentifier();
        refusals.reserved(name);
        FunctionInfo owner = names.function.ofThis();
        if (text.equals("arguments") && owner.node != null && names.scope.find(text) == null) owner.usesArguments = true;
        names.sharesGlobals |= text.equals("globalThis");
        names.mathShared |= !beforeDot && text.equals("Math");
        names.use(name, null);
    }

    private void member(PropertyGet node, boolean changed) {
        if (node.getTarget() instanceof Name name) name(name, !changed);
        else node.getTarget().visit(this);
        String property = node.getProperty().getIdentifier();
        names.function.constants.add(property);
        names.mathShared |= property.equals("Math");
        names.hooks |= property.startsWith("__define");
        if (Patterns.isLink(node)) chain(node);
    }

    /** Marks the whole of a chain that stops here when there is nothing to go on with. */
    private static void chain(AstNode link) {
        AstNode top = link;
        for (AstNode next = top.getParent(); Patterns.target(next) == top; next = top.getParent()) top = next;
        if (top.getParent().getType() == Token.DELPROP) top = top.getParent();
        top.putProp(Names.CHAIN, true);
    }

    private void assignment(Assignment node) {
        note(node);
        boolean plain = node.getType() == Token.ASSIGN;
        if (!plain && isPattern(Expressions.bare(node.getLeft()))) invalid(node.getLeft());
        else if (!Rewriting.isMark(node.getLeft())) target(node.getLeft(), null, plain ? node.getRight() : node);
        else if (!Patterns.isSpread(node)) errors.report(node, "Unexpected token '...'");
        node.getRight().visit(this);
    }

    private String noted(InfixExpression node) {
        return source.note(node.getPosition() + node.getOperatorPosition());
    }

    private void note(InfixExpression node) {
        String operator = noted(node);
        if (operator == null) return;
        node.putProp(Names.OPERATOR, operator);
        if (node.getType() == Token.OR && (isMixed(node.getLeft()) || isMixed(node.getRight()) || isMixed(node.getParent()))) {
            errors.report(node, "?? cannot stand beside && or || without parentheses");
        }
    }

    private boolean isMixed(AstNode node) {
        return node.getType() == Token.AND || node.getType() == Token.OR && noted((InfixExpression) node) == null;
    }

    private void objectLiteral(ObjectLiteral literal) {
        names.function.constants.add(literal);
        for (ObjectProperty property : literal.getElements()) {
            boolean shorthand = "=".equals(source.note(property.getPosition()));
            if (shorthand) errors.report(property, "Invalid shorthand property initializer");
            names.hooks |= property.isGetterMethod() || property.isSetterMethod();
            key(property.getLeft());
            property.getRight().visit(this);
            refusals.property(property);
        }
    }

    /** The name of a property that is made or read. */
    private void key(AstNode key) {
        if (key instanceof StringLiteral quoted) text(quoted.getValue());
        else if (key instanceof Name name) text(name.getIdentifier());
    }

    // -- targets

    /** What gets a value. What only assigns has no Variable.Declaring, and a declaration without an initialiser no value. */
    private void target(AstNode node, Variable.Declaring how, AstNode value) {
        switch (node.getType()) {
            case Token.NAME -> {
                Name name = (Name) node;
                names.mathShared |= name.getIdentifier().equals("Math");
                if (how == null) refusals.binding(name, false);
                else declared(name, names.declare(name, how.kind()), how, value);
                names.use(name, value);
            }
            case Token.ARRAYLIT -> {
                List<AstNode> elements = ((ArrayLiteral) node).getElements();
                for (int i = 0; i < elements.size(); i++) {
                    AstNode element = elements.get(i);
                    if (element.getType() == Token.EMPTY) continue;
                    target(element, how, Types.ANYTHING);
                    if (Patterns.isSpread(element)) mustBeLast(element, i + 1 == elements.size());
                }
            }
            case Token.OBJECTLIT -> {
                for (ObjectProperty property : ((ObjectLiteral) node).getElements()) {
                    if (Patterns.isSpread(property)) {
                        mustBeLast(property, true);
                        AstNode rest = property.getRight();
                        if (isPattern(rest) || rest.getType() == Token.ASSIGN) invalid(rest);
                    }
                    key(property.getLeft());
                    if (Patterns.isKey(property)) property.getRight().visit(this);
                    else target(property.getRight(), how, Types.ANYTHING);
                }
            }
            case Token.ASSIGN -> withDefault((Assignment) node, how);
            case Token.LP -> {
                AstNode inner = ((ParenthesizedExpression) node).getExpression();
                if (how != null || isPattern(inner)) invalid(node);
                else target(inner, how, value);
            }
            case Token.GETPROP, Token.GETELEM -> {
                if (how != null || Patterns.isOptional(node)) invalid(node);
                else if (node instanceof PropertyGet member) {
                    key(member.getProperty());
                    member(member, true);
                } else descend(node);
            }
            default -> invalid(node);
        }
    }

    private static boolean isPattern(AstNode node) {
        return node.getType() == Token.ARRAYLIT || node.getType() == Token.OBJECTLIT;
    }

    private void invalid(AstNode target) {
        errors.report(target, "Invalid left-hand side in assignment");
    }

    private void mustBeLast(AstNode rest, boolean last) {
        if (!last || source.note(rest.getPosition()) != null) errors.report(rest, "Rest element must be last element");
    }

    /** A part of a pattern with a default value, or what takes the rest. */
    private void withDefault(Assignment part, Variable.Declaring how) {
        AstNode left = part.getLeft(), right = part.getRight();
        if (!(part.getParent() instanceof ArrayLiteral || part.getParent() instanceof ObjectProperty)) invalid(part);
        else if (Rewriting.isMark(left)) target(right, how, Types.ANYTHING);
        else {
            right.visit(this);
            target(left, how, Types.ANYTHING);
        }
    }

    private Variable.Declaring declaring(Variable.Kind kind, boolean direct, AstNode around) {
        return new Variable.Declaring(kind, direct, names.tick(), around);
    }

    private void declared(Name name, Variable variable, Variable.Declaring how, AstNode value) {
        if (variable.first != null) return;
        variable.first = name;
        variable.home = names.scope;
        variable.initial = value;
        variable.how = how;
        variable.given = names.tick();
    }

    private void declaration(VariableDeclaration node) {
        String word = source.note(node.getPosition());
        Variable.Kind kind = word == null ? Variable.Kind.VAR : word.equals("let") ? Variable.Kind.LET : Variable.Kind.CONST;
        AstNode parent = node.getParent();
        int type = parent.getType();
        boolean inHead = parent instanceof Loop loop && loop.getBody() != node;
        boolean iterator = inHead && parent instanceof ForInLoop;
        boolean direct = inHead || type == Token.BLOCK || type == Token.SCRIPT;
        boolean lexicalCase = type == Token.CASE && kind.isLexical();
        if (kind.isLexical() && !direct && !lexicalCase) {
            errors.report(node, "Lexical declaration cannot appear in a single-statement context");
        }
        for (VariableInitializer part : node.getVariables()) {
            AstNode value = part.getInitializer();
            if (iterator && (value != null || node.getVariables().size() > 1)) {
                errors.report(part, "Invalid declaration in the head of a for loop");
            } else if (value == null && !iterator && (kind == Variable.Kind.CONST || part.isDestructuring())) {
                String what = part.isDestructuring() ? "destructuring" : "const";
                errors.report(part, "Missing initializer in " + what + " declaration");
            }
            Variable.Declaring how = declaring(kind, direct, lexicalCase ? parent : names.scope.node);
            if (value != null) value.visit(this);
            target(part.getTarget(), how, iterator ? Types.ANYTHING : value);
        }
    }

    // -- statements

    private void forLoop(Loop node) {
        names.open(node);
        if (node instanceof ForInLoop loop) {
            AstNode object = loop.getIteratedObject();
            object.visit(this);
            if (loop.isForOf() && object.getType() == Token.COMMA) errors.report(object, "Unexpected token ','");
            if (loop.getIterator() instanceof VariableDeclaration declaration) declaration.visit(this);
            else target(loop.getIterator(), null, Types.ANYTHING);
            loop.getBody().visit(this);
        } else descend(node);
        names.close();
    }

    private void switchStatement(SwitchStatement node) {
        node.getExpression().visit(this);
        names.open(node);
        for (SwitchCase one : node.getCases()) one.visit(this);
        names.close();
    }

    private void tryStatement(TryStatement node) {
        AstNode block = node.getTryBlock(), last = node.getFinallyBlock();
        names.enter(block, null);
        block.visit(this);
        names.leave();
        for (CatchClause clause : node.getCatchClauses()) {
            if (last != null) names.enter(clause, null);
            names.open(clause);
            names.declare(clause.getVarName(), Variable.Kind.CATCH);
            names.use(clause.getVarName(), null);
            AstNode pattern = clause.getCatchCondition();
            if (pattern != null && source.note(pattern.getPosition()) != null) {
                target(pattern, declaring(Variable.Kind.LET, true, clause), Types.ANYTHING);
            } else if (pattern != null) errors.report(clause, "Conditional catch clauses are not supported");
            clause.getBody().visit(this);
            names.close();
            if (last != null) names.leave();
        }
        if (last != null) {
            if (!isBlock(last)) errors.report(last, "What follows finally stands in braces");
            last.visit(this);
        }
    }

    // -- functions

    private void function(FunctionNode node) {
        boolean statement = node.getFunctionType() == FunctionNode.FUNCTION_STATEMENT
            || node.getFunctionType() == FunctionNode.FUNCTION_EXPRESSION_STATEMENT;
        boolean hoisted = statement && !(node.getParent() instanceof ObjectProperty);
        names.function.constants.add(node);
        FunctionInfo info = names.enter(node, node);
        if (!info.arrow && !isBlock(node.getBody())) errors.report(node.getBody(), "A function's body stands in braces");
        if (hoisted && node.getFunctionName() == null) {
            errors.report(node, "Function statements require a function name");
            hoisted = false;
        }
        if (hoisted) names.hoist(node, info);
        names.open(node);
        info.scope = names.scope;
        if (!hoisted && node.getFunctionName() != null) names.declareSelf(info, node.getFunctionName());
        boolean simple = true;
        Patterns.unwrap(node.getParams());
        for (AstNode parameter : node.getParams()) {
            target(parameter, declaring(Variable.Kind.PARAMETER, false, node), Types.ANYTHING);
            info.hasRest |= Patterns.isSpread(parameter);
            simple &= parameter.getType() == Token.NAME;
        }
        if (!simple && isStrict(node)) {
            errors.report(node, "Illegal 'use strict' directive in function with non-simple parameter list");
        }
        names.open(node.getBody());
        info.body = names.scope;
        descend(node.getBody());
        names.close();
        names.close();
        names.leave();
    }

    private boolean isBlock(AstNode node) {
        return source.text.charAt(node.getPosition()) == '{';
    }

    /** Whether a function says that it is strict. */
    private static boolean isStrict(FunctionNode node) {
        return node.getBody().getFirstChild() instanceof ExpressionStatement first
            && first.getExpression() instanceof StringLiteral text && text.getValue().equals("use strict");
    }
}
